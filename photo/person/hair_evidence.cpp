#include "photo/person/hair_evidence.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "photo/person/colour_fit.h"
#include "photo/person/hair.h"

namespace qx::photo {
namespace {

// Lengths in face widths, colours 0 to 1 (of levels only where it says so).
constexpr float kPlainOut = 0.5f, kPlainIn = 0.2f;       // the band before a wall
constexpr float kFullOut = 0.12f, kTexturedOut = 0.05f;  // ... before a room full of things, before a texture
constexpr float kUnevenIn = 0.03f;                       // ... before both
constexpr float kFaceAcross = 0.36f, kFaceDown = 0.56f;  // half axes of what is always the person
constexpr float kEars = 0.75f, kRim = 0.012f;            // how far aside ears reach; of their rim
constexpr float kSkin = 0.008f;                          // squared difference from the face's colour
constexpr float kBesideSkin = 0.015f;                    // the same of the person's colour nearby
constexpr float kHead = 1.25f;                           // of those, what is so but for the outline
constexpr float kNeck = 0.33f;                           // to each side, below the chin
constexpr float kThroat = 0.2f, kShoulder = 0.4f;        // lower down the neck widens by so much of what is below
constexpr double kOtherAcross = 0.75, kOtherDown = 1;    // half axes of the heads of others
constexpr float kEdge = 0.025f;                          // deeper, only what looks like a gap is asked for
constexpr int kGapRim = 2;                               // pixels
constexpr float kPure = 0.015f;                          // deeper, colours are the person's own
constexpr float kRivalsFrom = 0.02f, kRivalsTo = 0.1f;
constexpr float kLevel = 1.0f / 255;
constexpr uint8_t kNothing = 13, kOfPlate = 26;  // of 255: pixels outside with less than that are background
constexpr std::pair<int, int> kAround[] = {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}};

// A fall from 1 towards 0 as e^-x does, of plain arithmetic alone, so that every machine gives the same.
float Falloff(float x) {
  return 1 / (1 + x * (1 + x * (0.5f + x * (1.0f / 6 + x * (1.0f / 24)))));
}

Pixel Load(const uint8_t* bgr) {
  using Whole = int32_t __attribute__((vector_size(16)));
  return __builtin_convertvector((Whole{bgr[0], bgr[1], bgr[2], 0}), Pixel) * kLevel;
}

// Each of a region's bytes by `byte`.
template <typename To>
void Translate(const Region& region, To byte, Bytes* plane) {
  const uint8_t* from = region.bits.data();
  uint8_t* to = plane->data();
  for (size_t i = 0, size = region.bits.size(); i < size; ++i) to[i] = byte(from[i]);
}

uint8_t All(uint8_t bit) {
  return static_cast<uint8_t>(bit ? 255 : 0);
}

uint8_t Byte(float share) {
  return static_cast<uint8_t>(static_cast<int>(share * 255 + 0.5f));
}

}  // namespace

HairEvidence::HairEvidence(const HeadCrop& crop, const CleanPlate& plate)
    : crop_(crop),
      plate_(plate),
      width_(crop.mask.width),
      height_(crop.mask.height),
      unit_(1 / static_cast<float>(crop.faceWidth)),
      kinds_(width_, height_),
      zone_(static_cast<size_t>(width_)),
      alphas_(kinds_.bits.size()),
      unlikePlate_(kinds_.bits.size()),
      unlikePerson_(kinds_.bits.size()),
      unlikeRivals_(kinds_.bits.size()),
      flooded_(kinds_.bits.size()),
      smooth_(kinds_.bits.size()),
      connected_(kinds_.bits.size()) {
  FindSkin();
  DivideCrop();
  FindPersonColours(false);
  FindRivals();
  AskAll();
  CloseSolid();
  FindPersonColours(true);
  known_ = {};
  AskAll();
  Translate(plate_.background, All, &flooded_);
  Translate(plate_.smooth, All, &smooth_);
  Connect();
  for (const auto& [plane, radius] : {std::pair<const Bytes*, int>{&alphas_, 2},
                                      {&alphas_, 6},
                                      {&unlikePlate_, 1},
                                      {&unlikePlate_, 6},
                                      {&unlikePlate_, 16},
                                      {&unlikePerson_, 6},
                                      {&smooth_, 2},
                                      {&unlikeRivals_, 4},
                                      {&flooded_, 2},
                                      {&flooded_, 8},
                                      {&connected_, 4},
                                      {&crop_.mask.values, 5},
                                      {&crop_.mask.values, 16}}) {
    neighbours_.emplace_back(plane->data(), width_, height_, radius);
  }
  besideSkin_.resize(static_cast<size_t>(width_));
  behind_.emplace(plate_.colours, width_);
  persons_.emplace(person_, width_);
}

// Whether the pixel is in a face, in the head behind it but for the very outline, or in the neck and what is below it.
bool HairEvidence::IsSolid(int x, int y, float depth) const {
  const bool skin = depth > kRim && MeanSquare(Load(crop_.colours.At(x, y)) - skin_) < kSkin;
  for (const FaceBox& face : crop_.faces) {
    const auto dx = static_cast<float>((x + 0.5 - (face.left + face.right) / 2) / face.Width());
    const auto dy = static_cast<float>((y + 0.5 - (face.top + face.bottom) / 2) / face.Width());
    const float scale = depth > kEdge ? 1 / kHead : 1;
    const float a = dx * scale / kFaceAcross, b = dy * scale / kFaceDown;
    if (a * a + b * b < 1 || (skin && std::abs(dx) < kEars && std::abs(dy) < kFaceAcross)) return true;
    const auto below = static_cast<float>((y + 0.5 - face.bottom) / face.Width());
    if (below > 0 && std::abs(dx) < kNeck + kShoulder * std::max(0.0f, below - kThroat)) return true;
  }
  return false;
}

// Whether the pixel is of the head of a person who is background.
bool HairEvidence::IsOther(int x, int y) const {
  for (const FaceBox& face : crop_.others) {
    const double dx = (x + 0.5 - (face.left + face.right) / 2) / face.Width() / kOtherAcross;
    const double dy = (y + 0.5 - (face.top + face.bottom) / 2) / face.Width() / kOtherDown;
    if (dx * dx + dy * dy < 1) return true;
  }
  return false;
}

// Where to ask: in a band around the outline that is the wider, the plainer the background.
void HairEvidence::DivideCrop() {
  float out = kPlainOut + plate_.Clutter() * (kFullOut - kPlainOut);
  out += plate_.Texture() * (kTexturedOut - out);
  const float in = kPlainIn + plate_.Structure() * (kUnevenIn - kPlainIn);
  size_t i = 0;
  for (int y = 0; y < height_; ++y) {
    HairZone(crop_.faces, crop_.faceWidth, y, width_, zone_.data());
    for (int x = 0; x < width_; ++x, ++i) {
      const float depth = Depth(i);
      uint8_t kind = depth > 0 ? kPerson : kBackground;
      if (zone_[static_cast<size_t>(x)] > 0 && depth > -out && depth < in &&
          !(depth < 0 && (plate_.background.bits[i] || IsOther(x, y))) && !(depth > 0 && IsSolid(x, y, depth))) {
        kind = kUnknown;
      }
      kinds_.bits[i] = kind;
    }
  }
}

// The mean colour of the faces' middles.
void HairEvidence::FindSkin() {
  float count = 0;
  for (const FaceBox& face : crop_.faces) {
    for (int y = 0; y < height_; y += 2) {
      for (int x = 0; x < width_; x += 2) {
        const double dx = (x + 0.5 - (face.left + face.right) / 2) / face.Width();
        const double dy = (y + 0.5 - (face.top + face.bottom) / 2) / face.Width();
        if (dx * dx + dy * dy > 0.0625) continue;
        skin_ += Load(crop_.colours.At(x, y));
        count += 1;
      }
    }
  }
  if (count > 0) skin_ *= 1 / count;
}

// A few colours of the person near the outline, by k-means from fixed seeds.
void HairEvidence::FindRivals() {
  std::vector<Pixel> sample;
  for (int y = 0; y < height_; y += 2) {
    for (int x = 0; x < width_; x += 2) {
      const size_t i = static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
      const float depth = Depth(i);
      if (depth > kRivalsFrom && depth < kRivalsTo && kinds_.bits[i] == kUnknown) {
        sample.push_back(Load(crop_.colours.At(x, y)));
      }
    }
  }
  if (sample.size() < 4 * kRivals) return;
  auto bright = [](const Pixel& p) { return p[0] + 2 * p[1] + p[2]; };
  std::vector<Pixel> sorted = sample;
  std::stable_sort(sorted.begin(), sorted.end(), [&](const Pixel& a, const Pixel& b) { return bright(a) < bright(b); });
  for (size_t k = 0; k < kRivals; ++k) rivals_.push_back(sorted[(2 * k + 1) * sorted.size() / (2 * kRivals)]);
  for (int round = 0; round < 6; ++round) {
    std::array<Pixel, kRivals> sums{};
    std::array<float, kRivals> counts{};
    for (const Pixel& p : sample) {
      size_t best = 0;
      for (size_t k = 1; k < kRivals; ++k) {
        if (MeanSquare(p - rivals_[k]) < MeanSquare(p - rivals_[best])) best = k;
      }
      sums[best] += p;
      counts[best] += 1;
    }
    for (size_t k = 0; k < kRivals; ++k) {
      if (counts[k] > 0) rivals_[k] = sums[k] * (1 / counts[k]);
    }
  }
  for (size_t k = 0; k < kRivals; ++k) {
    for (size_t c = 0; c < 3; ++c) rivalChannels_[c][k] = rivals_[k][c];
  }
}

// The person's own colours near each pixel: from inside the mask, the more the less they could be the background seen
// through a gap; with `strands`, also from what was found to be all hair outside.
void HairEvidence::FindPersonColours(bool strands) {
  if (!strands) {
    known_ = Scattered((width_ + 1) / 2, (height_ + 1) / 2);
    std::fill(known_.sums.pixels.begin(), known_.sums.pixels.end(), Pixel{});
    std::fill(known_.squares.begin(), known_.squares.end(), 0.0f);
  }
  FieldRow above(plate_.colours, width_), below(plate_.colours, width_);
  const auto isNew = [&](size_t i) { return strands ? IsStrand(i) : Depth(i) > kPure; };
  for (int y = 0; y < height_; y += 2) {
    const int lower = std::min(y + 1, height_ - 1);
    const size_t first = kinds_.First(y), second = kinds_.First(lower);
    std::array<const Pixel*, 2> plate{};
    for (int x = 0; x < width_; ++x) {
      const auto column = static_cast<size_t>(x);
      if (!isNew(first + column) && !isNew(second + column)) continue;
      if (!plate[0]) plate = {above.At(y), below.At(lower)};
      SumPerson(x / 2, y / 2, strands, plate);
      x |= 1;  // the four pixels are done
    }
  }
  FillGaps(known_, &person_);
}

// Whether the pixel is all hair outside.
bool HairEvidence::IsStrand(size_t i) const {
  return kinds_.bits[i] == kUnknown && alphas_[i] > 242 && unlikePlate_[i] > 200 && Depth(i) <= kPure;
}

// The person's colours among four pixels. `plate`: the rows that they are in.
void HairEvidence::SumPerson(int x, int y, bool strands, const std::array<const Pixel*, 2>& plate) {
  const float noise = plate_.noise * kLevel;
  Pixel sum{};
  float squares = 0;
  for (int v = 2 * y; v < std::min(2 * y + 2, height_); ++v) {
    for (int u = 2 * x; u < std::min(2 * x + 2, width_); ++u) {
      const size_t i = kinds_.First(v) + static_cast<size_t>(u);
      if (!(Depth(i) > kPure || (strands && IsStrand(i)))) continue;
      const Pixel behind = plate[static_cast<size_t>(v % 2)][u];
      Pixel pixel = Load(crop_.colours.At(u, v));
      const float apart = MeanSquare(pixel - behind * kLevel);
      const float variance = behind[3] * (kLevel * kLevel) + noise * noise;
      const float unlike = apart / (apart + 9 * variance);
      const float weight = 0.25f * (0.02f + 0.98f * unlike * unlike);
      squares += weight * MeanSquare(pixel);
      pixel[3] = 1;
      sum += pixel * weight;
    }
  }
  Pixel* to = known_.sums.Row(y) + x;
  *to = sum;
  known_.squares[static_cast<size_t>(to - known_.sums.pixels.data())] = squares;
}

HairEvidence::Clue HairEvidence::Ask(const uint8_t* bgr, Pixel plate, Pixel person) const {
  const Pixel shown = Load(bgr), behind = plate * kLevel, from = shown - behind;
  const float noise = plate_.noise * plate_.noise * (kLevel * kLevel);
  const float behindVariance = plate[3] * (kLevel * kLevel) + noise, spread = person[3];
  Fit fit = FitBetween(from, person - behind);
  Clue clue;
  clue.nearAlpha = fit.alpha;
  clue.contrast = fit.contrast;
  float least = fit.residual, nearest = 1;
  if (!rivals_.empty()) {
    // All rivals at once, a channel after the other.
    const Fits others = FitBetween(from, rivalChannels_, behind);
    const Rivals cost =
        others.residual + 0.03f * others.alpha * MeanSquares(Differences(rivalChannels_, person)) + 2e-4f;
    const Rivals apart = MeanSquares(Differences(rivalChannels_, shown));
    for (int k = 0; k < static_cast<int>(kRivals); ++k) {
      nearest = std::min(nearest, apart[k]);
      if (cost[k] >= least) continue;
      least = cost[k];
      fit = {others.alpha[k], others.residual[k], others.contrast[k]};
    }
  }
  clue.alpha = fit.alpha;
  clue.residual = fit.residual;
  const float told = fit.contrast / (fit.contrast + 12 * behindVariance + 4 * fit.alpha * fit.alpha * spread);
  const float variance = behindVariance + fit.alpha * fit.alpha * spread;
  clue.confidence = told * Falloff(fit.residual / (2 * (0.0016f + variance)));
  clue.plateConfidence = clue.contrast / (clue.contrast + 12 * behindVariance);
  const float apart = MeanSquare(from), skin = MeanSquare(shown - skin_), own = MeanSquare(shown - person);
  clue.unlikePlate = apart / (apart + 9 * behindVariance);
  clue.unlikePerson = own / (own + 4 * (spread + noise));
  clue.unlikeRivals = nearest / (nearest + 0.004f);
  clue.apart = apart;
  clue.unlikeSkin = skin / (skin + 0.01f);
  return clue;
}

void HairEvidence::AskAll() {
  FieldRow behind(plate_.colours, width_), persons(person_, width_);
  const auto person = [](uint8_t kind) { return static_cast<uint8_t>(kind == kPerson ? 255 : 0); };
  const auto background = [](uint8_t kind) { return static_cast<uint8_t>(kind == kPerson ? 0 : 255); };
  for (Bytes* plane : {&alphas_, &unlikePlate_}) Translate(kinds_, person, plane);
  for (Bytes* plane : {&unlikePerson_, &unlikeRivals_}) Translate(kinds_, background, plane);
  for (int y = 0; y < height_; ++y) {
    const auto [begin, end] = UnknownOf(y);
    if (begin == end) continue;
    const Pixel *plate = behind.At(y, begin, end), *own = persons.At(y, begin, end);
    for (int x = begin; x < end; ++x) {
      const size_t i = static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
      if (kinds_.bits[i] != kUnknown) continue;
      const Clue clue = Ask(crop_.colours.At(x, y), plate[x], own[x]);
      alphas_[i] = Byte(clue.alpha);
      unlikePlate_[i] = Byte(clue.unlikePlate);
      unlikePerson_[i] = Byte(clue.unlikePerson);
      unlikeRivals_[i] = Byte(clue.unlikeRivals);
    }
  }
}

// Away from the outline, what does not look like a gap is the person, and what has the plate's colours background.
void HairEvidence::CloseSolid() {
  Region gaps(width_, height_), inside(width_, height_);
  const uint8_t *alphas = alphas_.data(), *unlikePerson = unlikePerson_.data(), *unlikePlate = unlikePlate_.data();
  const int16_t* depths = crop_.depth.data();
  uint8_t *kinds = kinds_.bits.data(), *gap = gaps.bits.data(), *in = inside.bits.data();
  const size_t pixels = kinds_.bits.size();
  for (size_t i = 0; i < pixels; ++i) {
    if (kinds[i] == kUnknown && depths[i] < 0 && alphas[i] < kNothing && unlikePlate[i] < kOfPlate) {
      kinds[i] = kBackground;
    }
    in[i] = kinds[i] == kUnknown;
    const bool edge = HeadCrop::Depth(depths[i]) * unit_ < kEdge;
    gap[i] = static_cast<uint8_t>(in[i] & (edge | ((alphas[i] < 217) & (unlikePerson[i] > 25))));
  }
  const Region asked = Grow(gaps, inside, kGapRim);
  for (size_t i = 0; i < pixels; ++i) {
    if (in[i] && !asked.bits[i]) kinds[i] = kPerson;
  }
}

// What hangs together with the mask by pixels that are not the plate's.
void HairEvidence::Connect() {
  Region open(width_, height_), seed(width_, height_);
  const uint8_t *alphas = alphas_.data(), *unlikePlate = unlikePlate_.data(), *kinds = kinds_.bits.data();
  const int16_t* depths = crop_.depth.data();
  uint8_t *toOpen = open.bits.data(), *toSeed = seed.bits.data();
  for (size_t i = 0; i < open.bits.size(); ++i) {
    const bool unknown = kinds[i] == kUnknown, seeds = (kinds[i] == kPerson) | (unknown & (depths[i] > 0));
    toSeed[i] = seeds;
    toOpen[i] = seeds | (unknown & (unlikePlate[i] > 102) & (alphas[i] > 51));
  }
  Translate(Grow(seed, open), All, &connected_);
}

HairEvidence::Neighbourhood::Neighbourhood(const uint8_t* plane, int width, int height, int radius)
    : plane_(plane),
      width_(width),
      height_(height),
      radius_(std::min(radius, kMostRadius)),
      columns_(static_cast<size_t>(width + 2 * (radius_ + 1))),
      sums_(static_cast<size_t>(width)) {}

void HairEvidence::Neighbourhood::SumColumns(int y) {
  const int top = std::max(y - radius_, 0), bottom = std::min(y + radius_ + 1, height_);
  if (top >= bottom_) {
    std::fill(columns_.begin(), columns_.end(), uint16_t{0});
    top_ = bottom_ = top;
  }
  uint16_t* to = columns_.data() + radius_ + 1;
  // Mostly one row comes in for one that goes.
  for (; bottom_ < bottom && top_ < top; ++bottom_, ++top_) {
    const uint8_t *in = Row(bottom_), *out = Row(top_);
    for (int x = 0; x < width_; ++x) to[x] = static_cast<uint16_t>(to[x] + in[x] - out[x]);
  }
  for (; bottom_ < bottom; ++bottom_) {
    const uint8_t* in = Row(bottom_);
    for (int x = 0; x < width_; ++x) to[x] = static_cast<uint16_t>(to[x] + in[x]);
  }
  for (; top_ < top; ++top_) {
    const uint8_t* out = Row(top_);
    for (int x = 0; x < width_; ++x) to[x] = static_cast<uint16_t>(to[x] - out[x]);
  }
  std::fill(columns_.begin(), columns_.begin() + radius_ + 1, to[0]);
  std::fill(columns_.end() - radius_ - 1, columns_.end(), to[width_ - 1]);
}

void HairEvidence::Neighbourhood::MoveTo(int y, int begin, int end) {
  SumColumns(y);
  const uint16_t *leaves = columns_.data() + begin, *comes = leaves + 2 * radius_ + 1;
  int32_t sum = 0;
  for (const uint16_t* column = leaves; column < comes; ++column) sum += *column;
  int32_t* to = sums_.data();
  for (int x = begin; x < end; ++x) {
    sum += *comes++ - *leaves++;
    to[x] = sum;
  }
  part_ = 1 / static_cast<float>(255 * (bottom_ - top_) * (2 * radius_ + 1));
}

HairEvidence::Span HairEvidence::UnknownOf(int y) const {
  const uint8_t *row = kinds_.Row(y), *end = row + width_;
  const uint8_t* first = std::find(row, end, kUnknown);
  while (end > first && end[-1] != kUnknown) --end;
  return {static_cast<int>(first - row), static_cast<int>(end - row)};
}

size_t HairEvidence::DescribeRow(int y, int* columns, float* values, size_t stride) {
  const auto [begin, end] = UnknownOf(y);
  if (begin == end) return 0;
  for (Neighbourhood& neighbourhood : neighbours_) neighbourhood.MoveTo(y, begin, end);
  const uint8_t* kind = &kinds_.At(0, y);
  const Pixel *plate = behind_->At(y, begin, end), *person = persons_->At(y, begin, end);
  HairZone(crop_.faces, crop_.faceWidth, y, width_, zone_.data());
  size_t count = 0;
  for (int x = begin; x < end; ++x) {
    if (kind[x] != kUnknown) continue;
    const size_t i = static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
    const uint8_t* bgr = crop_.colours.At(x, y);
    const Clue clue = Ask(bgr, plate[x], person[x]);
    const FaceBox* face = &crop_.faces[0];
    for (const FaceBox& other : crop_.faces) {
      if (std::abs(x - (other.left + other.right) / 2) < std::abs(x - (face->left + face->right) / 2)) face = &other;
    }
    const float depth = Depth(i), noise = plate_.noise * kLevel;
    float* to = values + count;
    auto put = [&](float value) {
      *to = value;
      to += stride;
    };
    put(static_cast<float>(crop_.mask.values[i]) * kLevel);
    put(std::clamp(depth * 20, -1.0f, 1.0f));
    put(std::clamp(depth * 5, -1.0f, 1.0f));
    put(std::clamp(depth * 2, -1.0f, 1.0f));
    put(clue.nearAlpha);
    put(clue.alpha);
    put(clue.confidence);
    put(clue.plateConfidence);
    put(std::min(1.0f, 10 * std::sqrt(clue.residual)));
    put(std::min(1.0f, 2 * std::sqrt(clue.contrast)));
    put(clue.unlikePlate);
    put(clue.unlikePerson);
    put(clue.unlikeRivals);
    put(clue.unlikeSkin);
    put(std::min(1.0f, 2 * std::sqrt(clue.apart)));
    put(std::min(1.0f, 10 * kLevel * std::sqrt(plate[x][3])));
    put(std::min(1.0f, 5 * std::sqrt(person[x][3])));
    put(flooded_[i] > 0 ? 1.0f : 0.0f);
    put(connected_[i] > 0 ? 1.0f : 0.0f);
    for (const Neighbourhood& neighbourhood : neighbours_) put(neighbourhood.Mean(x));
    for (const int reach : {1, 3}) {
      for (const auto& [across, down] : kAround) {
        const int u = std::clamp(x + reach * across, 0, width_ - 1), v = std::clamp(y + reach * down, 0, height_ - 1);
        put(static_cast<float>(alphas_[static_cast<size_t>(v) * static_cast<size_t>(width_) + static_cast<size_t>(u)]) *
            kLevel);
      }
    }
    put((static_cast<float>(bgr[0]) + 2 * static_cast<float>(bgr[1]) + static_cast<float>(bgr[2])) * (kLevel / 4));
    put(std::clamp(static_cast<float>((y + 0.5 - (face->top + face->bottom) / 2) / crop_.faceWidth), -1.5f, 1.5f));
    put(std::clamp(static_cast<float>(std::abs(x + 0.5 - (face->left + face->right) / 2) / crop_.faceWidth), 0.0f,
                   1.5f));
    put(zone_[static_cast<size_t>(x)]);
    put(plate_.flooded);
    put(std::min(1.0f, plate_.spread * (1.0f / 64)));
    put(std::min(1.0f, noise * 32));
    put(static_cast<float>(std::min(1.0, crop_.faceWidth / kHairFaceWidth)));
    besideSkin_[count] = MeanSquare(person[x] - skin_) < kBesideSkin ? 1 : 0;
    columns[count++] = x;
  }
  return count;
}

}  // namespace qx::photo
