#include "photo/studio.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/person/foreground.h"
#include "photo/place/fit_report.h"
#include "photo/place/pair_placement.h"
#include "photo/render/render.h"

namespace qx::photo {
namespace {

// In the library's terms, where bounds of 0 are none at all.
FineCropParams ToParams(const Goals& goals, const Document& document) {
  constexpr double kAlmostNone = 1e-9;
  FineCropParams params{};
  params.width = document.width;
  params.height = document.height;
  const auto set = [&](const std::optional<Fraction>& goal, double* min, double* max) {
    if (!goal) return;
    *min = std::max<double>(goal->min, kAlmostNone);
    *max = std::max<double>(goal->max, kAlmostNone);
  };
  set(goals.head, &params.headMin, &params.headMax);
  set(goals.top, &params.topMin, &params.topMax);
  set(goals.eyes, &params.eyeMin, &params.eyeMax);
  // The library holds the face's width against the widest photograph, not the one it chooses.
  params.faceWidthMin = params.faceWidthMax = -1;
  return params;
}

// A bound on the face's width is one on the head's length, since both grow alike. Nothing is left when they exclude
// each other.
std::optional<Goals> WithFaceWidthInHead(const Goals& goals, const PersonGeometry& person, double proportions) {
  if (!goals.faceWidth || person.faceWidth <= 0) return goals;
  const double ratio = (person.chin - person.headTop) / person.faceWidth * proportions;
  Goals merged = goals;
  merged.head = Fraction{goals.faceWidth->min * ratio, goals.faceWidth->max * ratio};
  if (goals.head)
    merged.head = {std::max(merged.head->min, goals.head->min), std::min(merged.head->max, goals.head->max)};
  if (merged.head->min > merged.head->max) return std::nullopt;
  return merged;
}

// The library's rectangle has whole, odd widths; the document's proportions are kept to the fraction.
Rectangle ToRectangle(const CropRect& rect, const CropOrigin& origin, double proportions) {
  Rectangle rectangle;
  rectangle.height = double{1} * rect.bottom - rect.top + 1;
  rectangle.width = rectangle.height * proportions;
  rectangle.left = (double{1} * rect.left + rect.right + 1) / 2 - rectangle.width / 2 + origin.left;
  rectangle.top = double{1} * rect.top + origin.top;
  return rectangle;
}

// How far inside the bounds to aim, first choice first: a measurement that differs by a hair should still pass.
constexpr double kMargins[] = {0.35, 0.3, 0.25, 0.2, 0.15, 0.1, 0.05, 0};

constexpr double kMostRoll = 5;  // degrees, from which on documents are refused

struct Placing {
  const PersonGeometry& person;
  const Document& document;
  Goals goals;
  Obstacles obstacles;
  double proportions;

  bool Serves(const Rectangle& rectangle) const {
    return IsClear(rectangle, person, obstacles) && MissesOf(MeasuresIn(rectangle, person), goals).empty();
  }
};

std::optional<Rectangle> PlaceByLibrary(const Placing& placing, const CropResult& crops, int32_t face,
                                        const CropOrigin& origin) {
  for (const double margin : kMargins) {
    const auto goals = WithFaceWidthInHead(Narrowed(placing.goals, margin), placing.person, placing.proportions);
    if (!goals) continue;
    const auto rect = crops.FineCrop(face, ToParams(*goals, placing.document));
    if (!rect) continue;
    const Rectangle rectangle = ToRectangle(*rect, origin, placing.proportions);
    if (placing.Serves(rectangle)) return rectangle;
  }
  return std::nullopt;
}

// Where the person is cut off or the shoulders are narrow, the library finds none although there may be one.
std::optional<Rectangle> PlaceBySearch(const Placing& placing) {
  for (const double margin : kMargins) {
    const auto nearest =
        FindNearest(placing.person, Narrowed(placing.goals, margin), placing.proportions, placing.obstacles);
    if (nearest && placing.Serves(*nearest)) return nearest;
  }
  return std::nullopt;
}

void AddRemarks(const UprightPhotograph& upright, const Document& document, MadePhoto* made) {
  if (upright.facesFound > upright.persons.size()) {
    made->remarks.push_back(
        Count(upright.facesFound, "face") + " found, the " +
        (upright.persons.size() == 1 ? "one of number " + std::to_string(upright.number) : std::string("two largest")) +
        " taken");
  }
  char text[160];
  if (made->enlargement > 1.05) {
    std::snprintf(text, sizeof text, "enlarged %.1f times: the photograph has too few pixels for %d x %d",
                  made->enlargement, document.width, document.height);
    made->remarks.push_back(text);
  }
  const double roll = upright.faces[upright.persons[0]].Roll();
  if (upright.persons.size() == 1 && std::abs(roll) > kMostRoll) {
    std::snprintf(text, sizeof text, "the head leans %.0f degrees to the %s; hold it straight", std::abs(roll),
                  roll > 0 ? "right" : "left");
    made->remarks.push_back(text);
  }
  for (const Miss& miss : made->givenUp) made->remarks.push_back("given up: " + MissText(miss, document));
}

// What the photograph without retouching is made from, kept only when asked for.
struct Unretouched {
  Unretouched(const MakeRequest& request, const Image& photograph, const Mask& personMask) {
    if (!request.compare) return;
    image = photograph;
    mask = personMask;
  }
  std::optional<Image> image;
  Mask mask;
};

void Finish(const MakeRequest& request, const UprightPhotograph& upright, const Image& colours, const Mask& mask,
            const Unretouched& before, const Rectangle& rectangle, MadePhoto* made) {
  const Document& document = request.document;
  made->quarterTurns = upright.quarterTurns;
  made->enlargement = document.height / rectangle.height;
  made->image = RenderPhoto(colours, mask, request.background, rectangle, document);
  if (before.image) {
    const Image& image = *before.image;
    const Image cleaned = request.background.IsKeep()
                              ? image
                              : EstimateForeground(image, before.mask, upright.faces[upright.persons[0]].Width());
    made->before = RenderPhoto(cleaned, before.mask, request.background, rectangle, document);
  }
  AddRemarks(upright, document, made);
}

}  // namespace

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

PhotoMaker::PhotoMaker() {
  CropSettings settings;
  settings.ratio = 1;
  settings.sourceScale = true;
  engine_.Configure(settings);
}

Mask PhotoMaker::MakeMask(const UprightPhotograph& upright, const Mask* given) {
  if (given) {
    Mask turned = TurnClockwise(*given, upright.quarterTurns);
    if (!turned.IsOf(upright.image)) throw Failure(FailureCode::kBadMask, "the mask is not of the photograph's size");
    return turned;
  }
  std::vector<FaceBox> persons, others;
  for (size_t i = 0; i < upright.faces.size(); ++i) {
    const bool wanted = std::count(upright.persons.begin(), upright.persons.end(), i) != 0;
    (wanted ? persons : others).push_back(BoxOf(upright.faces[i]));
  }
  return segmenter_.Segment(upright.image, persons, others);
}

void PhotoMaker::RetouchPersons(const Retouch& retouch, CropResult* crops, UprightPhotograph* upright, Mask* mask) {
  if (retouch.IsNone()) return;
  RetouchFaces(engine_, *crops, {upright->persons.begin(), upright->persons.end()}, retouch, &upright->image, mask);
  if (retouch.face != 0) MeasureAgain(probe_, upright);
}

MadePhoto PhotoMaker::Make(Image photograph, const MakeRequest& request, const Mask* given) {
  UprightPhotograph upright = MakeUpright(probe_, std::move(photograph), request.face);
  const size_t face = upright.persons[0];
  Mask mask = MakeMask(upright, given);
  CropResult crops = engine_.CropFaces(upright.image);
  const Unretouched before(request, upright.image, mask);
  RetouchPersons(request.retouch, &crops, &upright, &mask);
  const Image& image = upright.image;
  const PersonGeometry person = MeasurePerson(upright.faces[face], mask);
  const bool keep = request.background.IsKeep();
  std::optional<Image> cleaned;
  const Image& colours =
      keep ? image : cleaned.emplace(EstimateForeground(image, mask, upright.faces[upright.persons[0]].Width()));

  const Document& document = request.document;
  Obstacles obstacles;
  obstacles.keep = keep;
  const Placing placing{person, document, GoalsOf(document), obstacles, double{1} * document.width / document.height};
  const auto index = static_cast<int32_t>(face);
  const CropOrigin origin = crops.FindOrigin(index, image);
  crops.SetPerson(index, mask, colours);
  auto rectangle = PlaceByLibrary(placing, crops, index, origin);
  if (!rectangle) rectangle = PlaceBySearch(placing);
  MadePhoto made;
  if (!rectangle) {
    rectangle = FindNearest(person, placing.goals, placing.proportions, obstacles);
    if (!rectangle || !request.relax) {
      throw NoFit(person, document, placing.goals, obstacles, rectangle);
    }
    made.givenUp = MissesOf(MeasuresIn(*rectangle, person), placing.goals);
  }
  made.measures = MeasuresIn(*rectangle, person);
  Finish(request, upright, colours, mask, before, *rectangle, &made);
  return made;
}

MadePhoto PhotoMaker::MakePair(Image photograph, const MakeRequest& request, const Mask* given) {
  UprightPhotograph upright = MakePairUpright(probe_, std::move(photograph));
  Mask mask = MakeMask(upright, given);
  const Unretouched before(request, upright.image, mask);
  if (!request.retouch.IsNone()) {
    CropResult crops = engine_.CropFaces(upright.image);
    RetouchPersons(request.retouch, &crops, &upright, &mask);
  }
  const Image& image = upright.image;
  std::array<const ProbedFace*, 2> faces{};
  std::array<PersonGeometry, 2> persons;
  for (size_t i = 0; i < 2; ++i) {
    faces[i] = &upright.faces[upright.persons[i]];
    persons[i] = MeasurePerson(*faces[i], mask);
  }
  const PairGeometry pair = MeasurePair(faces, persons, mask);
  const Document& document = request.document;
  Obstacles obstacles;
  obstacles.keep = request.background.IsKeep();
  const auto [rectangle, problem] =
      PlacePair(pair, persons, double{1} * document.width / document.height, obstacles, request.relax);
  if (!rectangle) {
    throw Failure(
        FailureCode::kNoFit,
        "no rectangle shows both persons with the usual room on all sides: " + problem + "; take another photograph",
        request.relax ? FailureFields{{"what", "pair"}, {"relaxed", 1.0}} : FailureFields{{"what", "pair"}});
  }
  std::optional<Image> cleaned;
  const Image& colours =
      obstacles.keep ? image
                     : cleaned.emplace(EstimateForeground(image, mask, upright.faces[upright.persons[0]].Width()));
  MadePhoto made;
  made.measures = MeasuresIn(*rectangle, persons[0]);
  Finish(request, upright, colours, mask, before, *rectangle, &made);
  if (!problem.empty()) made.remarks.push_back("given up: the usual room around the faces, for " + problem);
  return made;
}

}  // namespace qx::photo
