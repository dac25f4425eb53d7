// usage: library_golden LIST [plain]
// Whole results of the library's exports on painted portraits, and of its elementary functions, as a list of digests
// held against a stored one. It needs neither an engine nor a test library, and everything in it is made from whole
// numbers: the list is the same on every machine, whatever the row loops and the C library. "plain" leaves the loops of
// the processor's own instruction set out. Without LIST it prints the list.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "base/exact_math.h"
#include "golden/painted_portrait.h"
#include "kernels/kernels.h"
#include "support/digests.h"

namespace qx::test {
namespace {

using Bytes = std::vector<uint8_t>;

struct Settings {
  bool sourceScale;
  int32_t bound;
  double ratio;
};
constexpr Settings kSourceScale = {true, 800, 0.5}, kBounded = {false, 600, 1};

// A crop run and all that can be asked for after it.
class Session {
 public:
  Session(std::string name, PaintedPortrait portrait, const Settings& settings, int32_t mode, Digests* digests)
      : name_(std::move(name)), photo_(portrait.photo), digests_(*digests) {
    Script().detections = {portrait.faces};
    QX_IDP_SetSrcSame(handle_.get(), settings.sourceScale ? 1 : 0);
    QX_IDP_SetRCLRBound(handle_.get(), settings.bound);
    QX_IDP_SetRCLRRatio(handle_.get(), settings.ratio);
    const IdpImage image = photo_.Image();
    Done(QX_IDP_RoughCrop(handle_.get(), &image, mode, result_.get()));
    int32_t width = 0, height = 0;
    QX_IDP_GetRCSize(result_.get(), 0, &height, &width);
    pixels_ = static_cast<size_t>(width) * static_cast<size_t>(height);
  }

  void Crop(int32_t index) {
    int32_t width = 0, height = 0;
    Done(QX_IDP_GetRCSize(result_.get(), index, &height, &width));
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    Bytes image(pixels * 3), mask(pixels);
    Done(QX_IDP_GetRCImage(result_.get(), index, image.data(), mask.data()));
    Add("crop size", {width, height});
    Add("crop image", image);
    Add("crop mask", mask);
  }
  void Quality(int32_t index) {
    QualityScores s = {};
    Done(QX_IDP_CheckQuality(handle_.get(), result_.get(), index, &s));
    Add("quality", {s.tilt, s.brightness, s.symmetry, s.background});
  }
  // An ellipse of a person with a soft edge around the middle of the photograph, a little uneven all over.
  void SetMask() {
    Bytes mask;
    const int64_t w = photo_.width, h = photo_.height;
    for (int64_t y = 0; y < h; ++y) {
      for (int64_t x = 0; x < w; ++x) {
        const int64_t dx = (2 * x - w) * 1000 / w, dy = (2 * y - h) * 1000 / h;
        const int64_t value = 700 - (dx * dx + dy * dy) / 1000 - (x * 7 + y * 3) % 11;
        mask.push_back(static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 250) + (x + y) % 5));
      }
    }
    Done(QX_IDP_SetSrcMaskFg(result_.get(), 0, mask.data(), photo_.pixels.data()));
  }
  void Mask() {
    SetMask();
    Bytes cropMask(pixels_), cropColour(pixels_ * 3), source(photo_.pixels.size() / 3), colour(photo_.pixels.size());
    Done(QX_IDP_GetRCMaskFg(result_.get(), 0, cropMask.data(), cropColour.data()));
    Done(QX_IDP_GetSrcMaskFg(result_.get(), 0, source.data(), colour.data()));
    Add("person mask, crop", cropMask);
    Add("person colour, crop", cropColour);
    Add("person mask, source", source);
    Add("person colour, source", colour);
  }
  void FineCrop(int32_t index, const std::string& what, const FineCropParams& params) {
    CropRect r = {};
    const int32_t status = QX_IDP_FineCrop(result_.get(), index, &params, &r);
    Add("fine crop, " + what, {status, r.left, r.top, r.right, r.bottom});
  }
  void RetouchPhoto(int32_t index, const std::string& what, const BeautyParams& params) {
    Bytes out(photo_.pixels.size());
    const IdpImage image = photo_.Image();
    Done(QX_IDP_DoFaceBeauty(handle_.get(), &image, result_.get(), index, &params, nullptr, out.data()));
    Add("photograph, " + what, out);
  }
  void RetouchCrop(int32_t index, const std::string& what, const BeautyParams& params) {
    Bytes mask(pixels_), out(pixels_ * 3);
    Done(QX_IDP_DoFaceBeauty(handle_.get(), nullptr, result_.get(), index, &params, mask.data(), out.data()));
    Add("crop, " + what, out);
    Add("crop mask, " + what, mask);
  }
  void RetouchSource(const std::string& what, const BeautyParams& params) {
    Bytes mask(photo_.pixels.size() / 3), out(photo_.pixels.size());
    Done(QX_IDP_Do91Beauty(handle_.get(), result_.get(), 0, &params, mask.data(), out.data()));
    Add("source, " + what, out);
    Add("source mask, " + what, mask);
  }

 private:
  // What a call that must do its work answered.
  void Done(int32_t status) const {
    if (status == IDP_OK) return;
    std::fprintf(stderr, "%s: a call answers %d\n", name_.c_str(), status);
    std::exit(1);
  }
  void Add(const std::string& what, const Bytes& bytes) { digests_.Add(name_ + ": " + what, bytes); }
  void Add(const std::string& what, std::initializer_list<int32_t> numbers) {
    digests_.Add(name_ + ": " + what, numbers);
  }

  std::string name_;
  Photo photo_;
  Digests& digests_;
  HandlePtr handle_ = FreshHandle();
  ResultPtr result_{QX_IDP_CreateIDPResult()};
  size_t pixels_ = 0;  // of the crop
};

const PaintedPortrait& Face() {
  static const PaintedPortrait face(460, 520, 150, 235, 240);
  return face;
}

constexpr BeautyParams kEverything = {{1.5, 1, 0.5, 4, 3, 1, 2}};

void AddTurns(Digests* digests) {
  PaintedPortrait portrait = Face(), large(610, 660, 260, 300, 310);
  PaintedPortrait corner(230, 240, 170, 20, 200);  // its crop reaches over two edges
  for (const char* turn : {"upright", "right", "upside down", "left"}) {
    Session own(turn, portrait, kSourceScale, IDP_CROP_SINGLE, digests);
    own.Crop(0);
    own.Quality(0);
    Session scaled(std::string(turn) + ", scaled", large, kBounded, IDP_CROP_SINGLE, digests);
    scaled.Crop(0);
    scaled.Quality(0);
    Session over(std::string(turn) + ", over edges", corner, kSourceScale, IDP_CROP_SINGLE, digests);
    over.Crop(0);
    over.Quality(0);
    for (PaintedPortrait* p : {&portrait, &large, &corner}) p->TurnClockwise();
  }
  Session upright("masks", Face(), kSourceScale, IDP_CROP_SINGLE, digests);
  upright.Mask();
  // A turned crop takes something of a mask only where it reaches over the photograph's left or upper edge.
  PaintedPortrait right(700, 700, 150, 150, 599), left(700, 700, 150, 549, 100);
  right.TurnClockwise();
  for (int i = 0; i < 3; ++i) left.TurnClockwise();
  for (const auto& [name, lying] : {std::pair("masks, right", right), std::pair("masks, left", left)}) {
    Session session(name, lying, kSourceScale, IDP_CROP_SINGLE, digests);
    session.Mask();
    session.RetouchCrop(0, "everything", kEverything);
    session.RetouchSource("everything", kEverything);
  }
  PaintedPortrait grey = Face();
  Photo one(460, 520, 1);
  for (size_t i = 0; i < one.pixels.size(); ++i) one.pixels[i] = grey.photo.pixels[3 * i];
  grey.photo = one;
  Session("grey", grey, kSourceScale, IDP_CROP_SINGLE, digests).Crop(0);
}

void AddStages(Digests* digests) {
  Session session("stages", Face(), kSourceScale, IDP_CROP_SINGLE, digests);
  session.SetMask();
  const std::pair<const char*, BeautyParams> stages[] = {
      {"eyes larger", {{3, 2, 0, 0, 0, 0, 0}}},    {"eyes smaller", {{-3, -2, 0, 0, 0, 0, 0}}},
      {"mouth larger", {{0, 0, 2, 0, 0, 0, 0}}},   {"mouth smaller", {{0, 0, -2, 0, 0, 0, 0}}},
      {"tone", {{0, 0, 0, 5, 0, 0, 0}}},           {"tone beyond ten", {{0, 0, 0, 14, 0, 0, 0}}},
      {"skin", {{0, 0, 0, 0, 2.5, 0, 0}}},         {"skin, spots only", {{0, 0, 0, 0, 6, 0, 0}}},
      {"detail", {{0, 0, 0, 0, 0, 1, 0}}},         {"contour narrower", {{0, 0, 0, 0, 0, 0, 4}}},
      {"contour wider", {{0, 0, 0, 0, 0, 0, -4}}}, {"everything", kEverything},
  };
  for (const auto& [what, params] : stages) session.RetouchPhoto(0, what, params);
  session.RetouchCrop(0, "everything", kEverything);
  session.RetouchSource("everything", kEverything);
  PaintedPortrait turned = Face();
  turned.TurnClockwise();
  Session lying("stages, right", turned, kSourceScale, IDP_CROP_SINGLE, digests);
  lying.RetouchPhoto(0, "everything", kEverything);
}

void AddFineCrops(Digests* digests) {
  Session session("fine", Face(), kSourceScale, IDP_CROP_SINGLE, digests);
  session.SetMask();
  session.FineCrop(0, "35 : 45", {35, 45, 0.5, 0.85, 0.02, 0.2, 0.4, 0.7, -1, -1});
  session.FineCrop(0, "head alone", {35, 45, 0.6, 0.8, 0, 0, 0, 0, -1, -1});
  session.FineCrop(0, "square", {1, 1, 0, 0, 0, 0, 0.5, 0.6, -1, -1});
  session.FineCrop(0, "no bounds", {33, 48, 0, 0, 0, 0, 0, 0, -1, -1});
  session.FineCrop(0, "face width", {33, 48, 0, 0, 0, 0, 0, 0, 0.3, 0.5});
  session.FineCrop(0, "nothing fits", {35, 45, 0.1, 0.2, 0.5, 0.6, 0.1, 0.2, -1, -1});
}

void AddPairs(Digests* digests) {
  PaintedPortrait portrait(560, 420, 110, 190, 190);
  portrait.Join(PaintedPortrait(560, 420, 120, 380, 200), 285);
  const BeautyParams first = {{2, 2, 1, 3, 2, 1, 2}}, second = {{-1, -1, 0, 0, 4, 1, -3}};
  for (const char* turn : {"pair", "pair, right"}) {
    Session session(turn, portrait, kSourceScale, IDP_CROP_PAIR, digests);
    session.Crop(0);
    session.RetouchPhoto(0, "one face", first);
    session.RetouchPhoto(1, "both faces", second);
    session.FineCrop(0, "without a mask", {2, 3, 0, 0, 0, 0, 0, 0, -1, -1});
    portrait.TurnClockwise();
  }
  Session scaled("pair, scaled", portrait, {false, 600, 0.9}, IDP_CROP_PAIR, digests);
  scaled.Crop(1);
}

// The bits of values of 4,096 arguments each.
template <typename Number>
void AddFunction(const std::string& name, Number (*function)(Number), double first, double last, Digests* digests) {
  constexpr int kCount = 4096;
  Bytes bytes(kCount * sizeof(Number));
  for (int i = 0; i < kCount; ++i) {
    const auto value = function(static_cast<Number>(first + (last - first) * i / kCount));
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);  // the low bytes first, wherever they are kept first
    for (size_t k = 0; k < sizeof value; ++k) {
      bytes[static_cast<size_t>(i) * sizeof value + k] = static_cast<uint8_t>(bits >> 8 * k);
    }
  }
  digests->Add("function " + name, bytes);
}

void AddFunctions(Digests* digests) {
  using exact::Pow, exact::Atan2;
  AddFunction<double>("exp", exact::Exp, -30, 30, digests);
  AddFunction<double>("log", exact::Log, 0.001, 7, digests);
  AddFunction<double>(
      "power 1/3", [](double x) { return Pow(x, 1.0 / 3); }, 0, 1, digests);
  AddFunction<double>(
      "power 2.4", [](double x) { return Pow(x, 2.4); }, 0, 90, digests);
  AddFunction<double>("cube root", exact::Cbrt, -9, 9, digests);
  AddFunction<double>("sine", exact::Sin, -7, 7, digests);
  AddFunction<double>("sine for weights", exact::QuickSin, -10, 10, digests);
  AddFunction<double>("cosine", exact::Cos, -7, 7, digests);
  AddFunction<double>("tangent", exact::Tan, -7, 7, digests);
  AddFunction<double>("arc sine", exact::Asin, -1, 1, digests);
  AddFunction<double>("arc tangent", exact::Atan, -9, 9, digests);
  AddFunction<double>(
      "angle", [](double y) { return Atan2(y, -3 - y); }, -9, 9, digests);
  AddFunction<float>("exp, single", exact::Exp, -30, 30, digests);
  AddFunction<float>("log, single", exact::Log, 0.001, 7, digests);
  AddFunction<float>("sine, single", exact::Sin, -7, 7, digests);
  AddFunction<float>("tangent, single", exact::Tan, -7, 7, digests);
  AddFunction<float>("arc sine, single", exact::Asin, -1, 1, digests);
  AddFunction<float>("arc tangent, single", exact::Atan, -9, 9, digests);
}

std::string AllDigests() {
  Digests digests;
  AddFunctions(&digests);
  AddTurns(&digests);
  AddStages(&digests);
  AddFineCrops(&digests);
  AddPairs(&digests);
  return digests.Lines();
}

// Exit status: 0 where the list is the stored one.
int HoldAgainst(const std::string& list, const std::string& actual) {
  std::ifstream file(list);
  const std::string expected{std::istreambuf_iterator<char>(file), {}};
  if (actual == expected) return 0;
  std::printf("other results with %s loops:\n%s%s", ActiveKernels().name, Missing(expected, actual, "- ").c_str(),
              Missing(actual, expected, "+ ").c_str());
  std::printf("Where the change is meant, accept it by\n  bin/library_golden > %s\n", list.c_str());
  return 1;
}

}  // namespace
}  // namespace qx::test

int main(int argc, char** argv) {
  qx::UsePlainKernels(argc > 2 && std::strcmp(argv[2], "plain") == 0);
  const std::string digests = qx::test::AllDigests();
  if (argc > 1) return qx::test::HoldAgainst(argv[1], digests);
  std::fputs(digests.c_str(), stdout);
  return 0;
}
