#include "photo/studio.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "photo/analysis.h"
#include "photo/base/failure.h"
#include "photo/base/raster.h"
#include "photo/base/resize.h"
#include "photo/base/text.h"
#include "photo/face/upright.h"
#include "photo/person/hair.h"

namespace qx::photo {
namespace {

constexpr double kScoreParts = 1000;  // the engine's scores are thousandths

// Enough for the faces, and for the person's map at its working size.
constexpr int64_t kOverviewPixels = 2'000'000;

// The mask's part brought to a size, by way of a picture of three equal channels.
Mask ResizeMask(const Mask& mask, const PixelBox& box, int32_t width, int32_t height) {
  Mask part(box.Width(), box.Height());
  for (int32_t y = 0; y < part.height; ++y) {
    std::copy_n(mask.Row(box.top + y) + box.left, part.width, part.Row(y));
  }
  if (part.width == width && part.height == height) return part;
  Image picture(part.width, part.height);
  for (size_t i = 0; i < part.values.size(); ++i) std::fill_n(&picture.bgr[3 * i], 3, part.values[i]);
  const Image resized =
      ResizeLanczos(picture, {0, 0, static_cast<double>(part.width), static_cast<double>(part.height)}, width, height);
  Mask result(width, height);
  for (size_t i = 0; i < result.values.size(); ++i) result.values[i] = resized.bgr[3 * i];
  return result;
}

// The boxes of the chosen faces and of all others.
void SplitFaces(const UprightPhotograph& upright, std::vector<FaceBox>* persons, std::vector<FaceBox>* others) {
  for (size_t i = 0; i < upright.faces.size(); ++i) {
    const bool wanted = std::count(upright.persons.begin(), upright.persons.end(), i) != 0;
    (wanted ? persons : others)->push_back(upright.faces[i].Box());
  }
}

// A picture in which heads are looked at closely, and which part of the overview it shows.
struct Heads {
  Image finer;       // empty: the overview itself
  Rectangle window;  // empty where the photograph shows nothing of them

  const Image& In(const Image& overview) const { return finer.width > 0 ? finer : overview; }
};

// The overview, or a finer picture of the heads where that shows them small and the photograph has more pixels.
Heads ReadHeads(PhotoSource& upright, const Image& overview, const std::vector<FaceBox>& persons,
                const Analysis::State& state) {
  constexpr double kWorthReading = 1.4;  // times as many pixels along a side
  double widest = 0;
  for (const FaceBox& face : persons) widest = std::max(widest, face.Width());
  const double finer = std::min(1 / state.toOverviewX, kHairFaceWidth / widest);
  if (finer < kWorthReading) return {Image(), {0, 0, 1.0 * overview.width, 1.0 * overview.height}};
  const double toX = state.toOverviewX, toY = state.toOverviewY;
  const Rectangle around = HeadSurroundings(persons);
  const auto clip = [](double v, int32_t size) { return static_cast<int32_t>(std::clamp(v, 0.0, 1.0 * size)); };
  const PixelBox box{clip(std::floor(around.left / toX), state.width), clip(std::floor(around.top / toY), state.height),
                     clip(std::ceil(around.Right() / toX), state.width),
                     clip(std::ceil(around.Bottom() / toY), state.height)};
  if (box.Width() <= 0 || box.Height() <= 0) return {};
  const Rectangle window{box.left * toX, box.top * toY, box.Width() * toX, box.Height() * toY};
  const auto size = [finer](double length) { return std::max(1, static_cast<int32_t>(std::lround(length * finer))); };
  return {upright.Part(box, std::min(box.Width(), size(window.width)), std::min(box.Height(), size(window.height))),
          window};
}

void LookAtFaces(FaceFinder& finder, const Image& overview, const Heads& heads, Analysis::State* state) {
  for (const ProbedFace& face : state->persons) {
    if (heads.finer.width == 0) {
      state->source.push_back(LookAtSource(overview, face));
      continue;
    }
    ProbedFace there = face.Moved(heads.window.left, heads.window.top, heads.finer.width / heads.window.width,
                                  heads.finer.height / heads.window.height);
    finder.Refine(heads.finer, &there);
    state->source.push_back(LookAtSource(heads.finer, there));
  }
}

// What `call` gives; memory that is short for it is a Failure like any other.
template <typename Call>
auto Told(Call call) {
  try {
    return call();
  } catch (const std::bad_alloc& shortage) {
    throw Failure(FailureCode::kOutOfMemory, ReasonOf(shortage));
  }
}

}  // namespace

struct Studio::Engines {
  FaceFinder finder;
  PersonSegmenter segmenter;
};

Analysis::Analysis(std::unique_ptr<State> state) : state_(std::move(state)) {}
Analysis::Analysis(Analysis&&) noexcept = default;
Analysis& Analysis::operator=(Analysis&&) noexcept = default;
Analysis::~Analysis() = default;

int Analysis::QuarterTurns() const {
  return state_->quarterTurns;
}
int32_t Analysis::Width() const {
  return state_->width;
}
int32_t Analysis::Height() const {
  return state_->height;
}
size_t Analysis::FacesFound() const {
  return state_->faces.size();
}
std::vector<AnalysedFace> Analysis::Faces() const {
  return state_->faces;
}
double Analysis::LeanDegrees() const {
  return state_->persons[0].Roll();
}

Mask MaskOfPart(const Analysis::State& state, const PhotographPart& part) {
  if (!state.map) return ResizeMask(state.given, part.box, part.picture.width, part.picture.height);
  return RefineMask(*state.map, part.picture,
                    {part.box.left * state.toOverviewX, part.box.top * state.toOverviewY,
                     part.box.Width() * state.toOverviewX, part.box.Height() * state.toOverviewY});
}

std::vector<std::string> RemarksOnFaces(const Analysis::State& state) {
  if (state.faces.size() <= state.persons.size()) return {};
  return {Count(state.faces.size(), "face") + " found, the " +
          (state.persons.size() == 1 ? "one of number " + std::to_string(state.number) : std::string("two largest")) +
          " taken"};
}

std::string ChooseBackground(const Preset& preset, const std::optional<std::string>& wanted, bool force) {
  if (preset.backgroundChange || force)
    return wanted.value_or(preset.backgrounds.empty() ? "white" : preset.backgrounds[0]);
  if (wanted && *wanted != "keep") {
    throw Failure(FailureCode::kForbiddenEdit,
                  preset.authority + " takes no photograph whose background was changed (" + preset.name + ")",
                  {{"edit", "background"}});
  }
  return "keep";
}

void CheckRetouch(const Preset& preset, const Retouch& wanted, bool force) {
  if (wanted.IsNone() || preset.retouching || force) return;
  throw Failure(FailureCode::kForbiddenEdit, preset.authority + " takes no retouched photograph (" + preset.name + ")",
                {{"edit", "retouching"}});
}

void CheckAdjustment(const Preset& preset, const Adjustment& wanted, bool force) {
  CheckRanges(wanted);
  if (wanted.IsNone() || preset.retouching || force) return;
  throw Failure(FailureCode::kForbiddenEdit,
                preset.authority + " takes no photograph whose colours or sharpness were changed (" + preset.name + ")",
                {{"edit", "adjustment"}});
}

void CheckFraming(const Preset& preset, const Framing& wanted, bool force) {
  CheckRanges(wanted);
  if (wanted.turnedBy == 0 || preset.backgroundChange || force) return;
  throw Failure(FailureCode::kForbiddenEdit,
                preset.authority + " takes no photograph that was changed, and so no turned one (" + preset.name + ")",
                {{"edit", "turn"}});
}

Studio::Studio() : engines_(std::make_unique<Engines>()) {}
Studio::~Studio() = default;
Studio::Studio(Studio&&) noexcept = default;

std::vector<ProbedFace> Studio::Inspect(const PixelView& photograph) {
  return Told([&] { return engines_->finder.Find(photograph); });
}

std::vector<Image> Studio::Crop(const PixelView& photograph, const CropSettings& settings) {
  CheckSettings(settings);
  return Told([&] {
    std::vector<Image> crops;
    for (const ProbedFace& face : engines_->finder.Find(photograph)) {
      crops.push_back(CropFace(photograph, face, settings));
    }
    if (crops.empty()) throw NoFace();
    return crops;
  });
}

std::unique_ptr<Analysis::State> Studio::FindPersons(PhotoSource& source, const AnalyseRequest& request,
                                                     const Mask* mask, bool measured) {
  auto state = std::make_unique<Analysis::State>();
  Image overview = source.Overview(kOverviewPixels);
  UprightPhotograph upright = request.pair ? MakePairUpright(engines_->finder, std::move(overview))
                                           : MakeUpright(engines_->finder, std::move(overview), request.face);
  state->quarterTurns = upright.quarterTurns;
  TurnedSource turned(&source, upright.quarterTurns);
  state->width = turned.Width();
  state->height = turned.Height();
  state->toOverviewX = static_cast<double>(upright.image.width) / state->width;
  state->toOverviewY = static_cast<double>(upright.image.height) / state->height;
  for (const ProbedFace& face : upright.faces) {
    const ProbedFace there = face.Moved(0, 0, 1 / state->toOverviewX, 1 / state->toOverviewY);
    state->faces.push_back({face.score / kScoreParts, there.corners});
  }
  state->number = upright.number;
  for (const size_t person : upright.persons) state->persons.push_back(upright.faces[person]);
  std::vector<FaceBox> persons, others;
  SplitFaces(upright, &persons, &others);
  if (mask) {
    state->given = TurnClockwise(*mask, upright.quarterTurns);
    // As large as the one that is made here, so that a mask of ours is placed as it was before it was written.
    const MapSize size = SizeOfMap(upright.image.width, upright.image.height, persons);
    const PixelBox all{0, 0, state->width, state->height};
    state->coarse = ResizeMask(state->given, all, std::min(size.width, all.right), std::min(size.height, all.bottom));
  } else {
    state->map = engines_->segmenter.FindPersons(upright.image, persons, others);
  }
  if (!mask || measured) {
    const Heads heads = ReadHeads(turned, upright.image, persons, *state);
    if (state->map && heads.window.width > 0) {
      state->map->hair = FollowHair(*state->map, heads.In(upright.image), heads.window, persons, others);
    }
    if (measured) LookAtFaces(engines_->finder, upright.image, heads, state.get());
  }
  if (!mask) state->coarse = CoarseMask(*state->map);
  if (upright.quarterTurns == 0) source.Keep(std::move(upright.image));
  return state;
}

Analysis Studio::Analyse(PhotoSource& source, const AnalyseRequest& request, const Mask* mask) {
  if (mask && (mask->width != source.Width() || mask->height != source.Height())) {
    throw Failure(FailureCode::kBadMask, "the mask is not of the photograph's size");
  }
  return Told([&] { return Analysis(FindPersons(source, request, mask, true)); });
}

MadePhoto Studio::Render(PhotoSource& source, Analysis& analysis, const MakeRequest& request) {
  TurnedSource upright(&source, analysis.state_->quarterTurns);
  return Told([&] { return RenderAnalysed(upright, engines_->finder, analysis.state_.get(), request); });
}

MadePhoto Studio::Make(PhotoSource& source, const AnalyseRequest& faces, const MakeRequest& request, const Mask* mask) {
  Analysis analysis = Analyse(source, faces, mask);
  return Render(source, analysis, request);
}

CutOut Studio::CutOut(PhotoSource& source, const CutOutRequest& request) {
  return Told([&] {
    const std::unique_ptr<Analysis::State> state = FindPersons(source, request.persons, nullptr, false);
    TurnedSource upright(&source, state->quarterTurns);
    photo::CutOut cutOut = CutOutAnalysed(upright, *state, request);
    const int back = (4 - state->quarterTurns) % 4;
    cutOut.mask = TurnClockwise(std::move(cutOut.mask), back);
    if (request.colours) cutOut.colours = TurnClockwise(std::move(cutOut.colours), back);
    cutOut.remarks = RemarksOnFaces(*state);
    return cutOut;
  });
}

RetouchedPhoto Studio::Retouch(Image photograph, const photo::Retouch& retouch, std::optional<int> face) {
  return Told([&]() -> RetouchedPhoto {
    // Upright for the work, then turned back: the face's outline is made narrower along the rows.
    UprightPhotograph upright = MakeUpright(engines_->finder, photograph, face);
    std::vector<ProbedFace> chosen = upright.faces;
    if (face) chosen = {upright.faces[upright.persons[0]]};
    RetouchFaces(chosen, retouch, &upright.image);
    return {std::move(photograph), TurnClockwise(std::move(upright.image), (4 - upright.quarterTurns) % 4),
            chosen.size()};
  });
}

PhotoCheck Studio::Check(const Image& photograph, const FileFacts& file, const Preset& preset, bool child) {
  return Told([&] { return CheckPhoto(engines_->finder, engines_->segmenter, photograph, file, preset, child); });
}

}  // namespace qx::photo
