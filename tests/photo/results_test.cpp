// Finished pictures of a painted face by their digests, from the person's map to the sheet. What the networks find
// differs between processors and is made up here; all that is made of it is the same on each of them, with every
// variant of the row loops and of the C library.
#include <gtest/gtest.h>

#include "kernels/kernels.h"
#include "photo/base/photo_source.h"
#include "photo/base/resize.h"
#include "photo/document/paper.h"
#include "photo/drawing/draw_check.h"
#include "photo/drawing/draw_faces.h"
#include "photo/foreground/foreground.h"
#include "photo/person/mask.h"
#include "photo/place/face_placement.h"
#include "photo/render/adjust.h"
#include "photo/render/colour_cast.h"
#include "photo/render/render.h"
#include "photo/sheet/sheet.h"
#include "support/painted_face.h"
#include "support/stored_results.h"

namespace qx::photo {
namespace {

using test::Digests;

// The painted face's head and a body below it, a little uneven, as a network would see it in a picture of that size.
Mask RoughCoverage(int32_t width, int32_t height) {
  Mask mask(width, height);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const int64_t across = (2 * x - width) * 1000 / width, down = (2 * y - height) * 1000 / height;
      const int64_t head = 600 - across * across * 2 / 600 - (down + 100) * (down + 100) / 700;
      const int64_t body = down > 500 ? 820 - (across < 0 ? -across : across) : 0;
      const int64_t wave = (x * 7 + y * 3) % 23;
      mask.Row(y)[x] = static_cast<uint8_t>(std::clamp<int64_t>(std::max(head, body) + wave, 0, 255));
    }
  }
  return mask;
}

PersonMap MapOf(const Image& photograph) {
  PersonMap map;
  map.colours = ImageSource(photograph).Overview(40'000);
  map.coverage = RoughCoverage(map.colours.width, map.colours.height);
  map.scaleX = static_cast<double>(map.colours.width) / photograph.width;
  map.scaleY = static_cast<double>(map.colours.height) / photograph.height;
  map.faceWidth = 260 * map.scaleX;
  return map;
}

std::string Name(const char* what, const char* how) {
  return std::string(what) + ", " + how;
}

struct Person {
  PaintedFace painted;
  Mask mask = RefineMask(MapOf(painted.image), painted.image, {0, 0, 620, 760});
  PhotographPart part{EstimateForeground(painted.image, mask, 260, Rim::kReduce), {0, 0, 620, 760}, 620, 760};
};

void AddMasks(const Person& person, Digests* digests) {
  const PersonMap map = MapOf(person.painted.image);
  digests->Add("mask, coarse", CoarseMask(map).values);
  digests->Add("mask", person.mask.values);
  const Image larger = ResizeLanczos(person.painted.image, {100.25, 60.5, 400, 520}, 640, 832);
  digests->Add("part, enlarged", larger.bgr);
  const Mask mask = RefineMask(map, larger, {100.25, 60.5, 400, 520});
  digests->Add("mask, part", mask.values);
  digests->Add("person's colours", person.part.picture.bgr);
  digests->Add("person's colours, part", EstimateForeground(larger, mask, 416, Rim::kReduce).bgr);
}

void AddRenderings(const Person& person, Digests* digests) {
  const std::pair<const char*, const char*> backgrounds[] = {
      {"", "white"}, {", gradient", "gradient:#204080-#e0f0ff"}, {", kept", "keep"}};
  for (const auto& [name, angle] :
       {std::pair("straight", 0.0), {"by 0.7", 0.7}, {"by -11", -11.0}, {"by 24.9", 24.9}}) {
    const Turn turn(angle, {310, 300});
    for (const auto& [kind, colours] : backgrounds) {
      const std::string what = std::string("finished ") + name + kind;
      const Background background = ParseBackground(colours);
      Document document;
      document.width = 413;
      document.height = 531;
      digests->Add(what,
                   RenderPhoto(person.part, person.mask, background, turn, {90.5, -20, 440, 565.7}, document).bgr);
      document.width = 150;
      document.height = 200;
      digests->Add(what + ", small",
                   RenderPhoto(person.part, person.mask, background, turn, {100, 20, 420, 560}, document).bgr);
    }
  }
}

void AddPlaces(const Person& person, Digests* digests) {
  MaskView view;
  view.width = 620;
  view.height = 760;
  view.whole = &person.mask;
  for (const double angle : {0.0, -6.5}) {
    view.turn = Turn(angle, {310, 300});
    const FacePlaces places = PlacesOf(person.painted.face, {0, 0, 620, 760}, 1, 1, view.turn);
    const PersonGeometry measured = MeasurePerson(places, view);
    for (const char* preset : {"schengen-visa", "us-passport", "one-inch"}) {
      const Document document = Derive(FindPreset(preset));
      const auto r = PlaceFace({places, view, measured, document, GoalsOf(document), Obstacles()});
      const auto whole = [](double place) { return static_cast<int32_t>(std::floor(place * 100)); };
      const std::string what = Name(angle == 0 ? "placed" : "placed turned", preset);
      ASSERT_TRUE(r) << what;
      digests->Add(what, {whole(r->left), whole(r->top), whole(r->width), whole(r->height)});
    }
  }
}

void AddRetouching(const Person& person, Digests* digests) {
  for (const char* kind : {"light", "natural", "strong"}) {
    Image image = person.painted.image;
    Mask mask = person.mask;
    RetouchFaces({person.painted.face}, NamedRetouch(kind), &image, &mask);
    digests->Add(Name("retouched", kind), image.bgr);
    digests->Add(Name("retouched mask", kind), mask.values);
  }
  Retouch everything = NamedRetouch("strong");
  everything.eyes = 3;
  everything.mouth = -2;
  everything.tone = 7;
  everything.detail = true;
  Image image = person.painted.image;
  RetouchFaces({person.painted.face}, everything, &image);
  digests->Add("retouched, everything", image.bgr);
  everything.keepFeatures = false;
  Image bare = person.painted.image;
  RetouchFaces({person.painted.face}, everything, &bare);
  digests->Add("retouched, everything, features too", bare.bgr);
  digests->Add("side by side", SideBySide(image, bare).bgr);
}

void AddAdjustments(const Person& person, Digests* digests) {
  Adjustment more{2, 3, 4, 2, -1, 5, false}, less{-2, -3, -4, -5, 3, -5, false};
  for (const auto& [name, adjustment] : {std::pair("more", more), {"less", less}}) {
    Image image = person.painted.image;
    Adjust(adjustment, {0.01, -0.02}, &image);
    digests->Add(Name("adjusted", name), image.bgr);
  }
  Document document;
  document.width = 413;
  document.height = 531;
  Image own;
  Mask alpha;
  Image finished = RenderPhoto(person.part, person.mask, ParseBackground("lightblue"), Turn(), {90, 0, 440, 565.7},
                               document, &alpha, &own);
  digests->Add("person's own colours, finished", own.bgr);
  AdjustPerson(more, {}, alpha, &own, &finished);
  digests->Add("adjusted person", finished.bgr);
  const Cast cast = MeasureCast(person.painted.image, person.mask, {person.painted.face});
  digests->Add("cast", {static_cast<int32_t>(cast.a * 1e6), static_cast<int32_t>(cast.b * 1e6)});
}

void AddSheets(const Person& person, Digests* digests) {
  Document document;
  document.width = 413;
  document.height = 531;
  SheetPhotograph photograph;
  photograph.name = "a";
  photograph.image =
      RenderPhoto(person.part, person.mask, ParseBackground("white"), Turn(), {90, 0, 440, 565.7}, document);
  photograph.resolution = {300, 300};
  for (const int32_t dpi : {300, 220}) {
    SheetSpec spec;
    spec.paper = ParsePaper("10x15cm");
    spec.dpi = dpi;
    const SheetLayout layout = LayOutPhotographs(spec, {photograph});
    digests->Add("sheet of " + std::to_string(layout.tiles.size()),
                 DrawSheet(layout, ScaleToSheet({photograph}, dpi)).bgr);
  }
}

void AddDrawings(const Person& person, Digests* digests) {
  for (const auto& [name, set] : {std::pair("key", PointSet::kKey), {"dense", PointSet::kDense}}) {
    digests->Add(Name("drawn points", name), DrawFaces(person.painted.image, {person.painted.face}, set).bgr);
  }
  PhotoCheck check;
  check.document = Derive(FindPreset("schengen-visa"));
  check.face = person.painted.face;
  check.person = MeasurePerson(person.painted.face, person.mask);
  check.lines = MeasureLines(MeasuresIn({0, 0, 620, 760}, *check.person), check.document);
  digests->Add("drawn measures", DrawCheck(person.painted.image, check).bgr);
}

std::string AllDigests() {
  const Person person;
  Digests digests;
  AddMasks(person, &digests);
  AddRenderings(person, &digests);
  AddPlaces(person, &digests);
  AddRetouching(person, &digests);
  AddAdjustments(person, &digests);
  AddSheets(person, &digests);
  AddDrawings(person, &digests);
  return digests.Lines();
}

TEST(Finished, PicturesAreTheStoredOnes) {
  test::ExpectStored("finished", "fastest", AllDigests());
}

TEST(Finished, PicturesAreTheStoredOnesWithPlainLoops) {
  UsePlainKernels(true);
  test::ExpectStored("finished", "plain", AllDigests());
  UsePlainKernels(false);
}

}  // namespace
}  // namespace qx::photo
