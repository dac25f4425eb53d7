#include "photo/drawing/draw_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "photo/drawing/findings.h"
#include "photo/drawing/label_font.h"
#include "photo/drawing/legend.h"
#include "photo/drawing/marks.h"
#include "support/flat_face.h"
#include "support/stored_results.h"
#include "support/typical_person.h"

namespace qx::photo {
namespace {

using namespace qx::test;

constexpr Ink kInk{0, 0, 0};

bool IsInked(const Image& image, int x, int y) {
  return image.At(x, y)[1] < 128;
}

// Columns from the first to past the last inked one.
std::pair<int, int> InkedColumns(const Image& image) {
  int first = image.width, last = -1;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      if (IsInked(image, x, y)) first = std::min(first, x), last = std::max(last, x);
    }
  }
  return {first, last + 1};
}

Image Written(const std::string& text, int size, int left, int top, int width, int height) {
  Canvas canvas(width, height, kPaper);
  DrawText(&canvas, left, top, text, size, kInk);
  return canvas.Take();
}

TEST(LabelFont, TakesTheRoomThatItSays) {
  for (const int size : {9, 20, 33, 40, 55}) {
    for (const std::string text : {"Head 33.1 mm (32–36)", "|éß°×±≤≥✓✗H", "H"}) {
      const int width = TextWidth(text, size), height = LineHeight(size);
      const auto [first, last] = InkedColumns(Written(text, size, 30, 10, width + 60, height + 20));
      EXPECT_LE(30, first) << text << size;
      EXPECT_GE(30 + width, last) << text << size;
      EXPECT_LE(30 + width - size / 2, last) << text << size;
      const Image line = Written(text, size, 0, 0, width, height),
                  free = Written(text, size, 0, height, width, 3 * height);
      for (int x = 0; x < width; ++x) {
        for (const int y : {0, height - 1}) EXPECT_EQ(IsInked(line, x, y), IsInked(free, x, y + height));
        EXPECT_FALSE(IsInked(free, x, height - 1) || IsInked(free, x, 2 * height)) << text << size;
      }
    }
  }
}

TEST(LabelFont, IsCutAtTheCanvasAndTakesAnyBytes) {
  const std::string text = "jQg✗ÅÿHM";
  const Image whole = Written(text, 33, 50, 50, 400, 150);
  for (const auto& [left, top] : {std::pair(-20, 0), {100, 90}, {0, -30}, {380, 20}, {-5000, 0}, {0, 5000}}) {
    const Image part = Written(text, 33, left, top, 200, 60);
    for (int y = 0; y < part.height; ++y) {
      for (int x = 0; x < part.width; ++x) {
        const int wx = x - left + 50, wy = y - top + 50;
        if (wx < 0 || wx >= whole.width || wy < 0 || wy >= whole.height) continue;
        ASSERT_TRUE(std::equal(part.At(x, y), part.At(x, y) + 3, whole.At(wx, wy))) << x << " " << y;
      }
    }
  }
  for (const char* broken : {"\xC3", "\xE2\x9C", "\xFF", "\xC0\x80"}) {
    const std::string bytes = broken, marks(bytes.size(), '?');
    EXPECT_EQ(Written(marks, 20, 0, 0, 80, 30).bgr, Written(bytes, 20, 0, 0, 80, 30).bgr);
  }
  EXPECT_EQ(Written("?a", 20, 0, 0, 80, 30).bgr, Written("\xE4\xB8\xAD"
                                                         "a",
                                                         20, 0, 0, 80, 30)
                                                     .bgr);
}

TEST(LabelFont, WrapsWithoutLosingACharacter) {
  const std::string text = "close  your mouth: Donaudampfschifffahrtsgesellschaft ✗✗✗ ";
  for (const int width : {0, 1, 60, 200, 5000}) {
    std::string joined;
    for (const std::string& line : WrapText(text, 20, width)) {
      EXPECT_FALSE(line.empty());
      EXPECT_TRUE(TextWidth(line, 20) <= width || width < 60) << line;
      joined += line;
    }
    const auto packed = [](std::string s) {
      return s.erase(0, 0), s.erase(std::remove(s.begin(), s.end(), ' '), s.end()), s;
    };
    EXPECT_EQ(packed(text), packed(joined)) << width;
  }
  EXPECT_TRUE(WrapText("  ", 20, 100).empty());
}

// A flat face of 616 x 616 pixels with one measure of each state.
PhotoCheck FlatCheck() {
  PhotoCheck check;
  check.lines = {{"width", "px", 616, 616.0, 616.0, 0},
                 {"head", "mm", 30.1, 32.0, 36.0, 0},
                 {"lean", "degrees", 1, std::nullopt, std::nullopt, 0}};
  MeasureList list;
  list.Judge(MeasureId::kHeadPoseYaw, 12, "turn your head to your right: 12 degrees");
  list.Judge(MeasureId::kHeadPosePitch, 3);
  list.Judge(MeasureId::kHeadPoseRoll, 0);
  list.Judge(MeasureId::kEyesOpen, 0.1);
  list.Judge(MeasureId::kEyeOpenness, 0.4);
  list.Judge(MeasureId::kGazeSideways, 0);
  list.Judge(MeasureId::kLipGap, 2, "close your mouth");
  list.Judge(MeasureId::kCheekLight, 0.6);
  list.Remark(MeasureId::kCheekLight, "the left half in the picture is darker: even light is better");
  check.measures = list.All();
  FlatFace face;
  face.Set(234, 200, 380), face.Set(454, 415, 380);
  check.face = face.Faces().front();
  check.person = TypicalPerson();
  check.document.headTo = HeadTo::kCrown;
  check.document.widthMm = check.document.heightMm = 45;
  return check;
}

size_t PlaceOf(const std::vector<std::string>& texts, const std::string& part) {
  const auto found = std::find_if(texts.begin(), texts.end(),
                                  [&part](const std::string& text) { return text.find(part) != std::string::npos; });
  EXPECT_NE(texts.end(), found) << part;
  return static_cast<size_t>(found - texts.begin());
}

TEST(DrawCheck, LegendNamesWhatFailedFirst) {
  const PhotoCheck check = FlatCheck();
  const std::vector<Finding> findings = FindingsOf(check);
  EXPECT_EQ(check.lines.size() + check.measures.size(), findings.size());
  const std::vector<std::string> texts = Legend(findings, 20, 600).Texts();
  size_t last = 0;
  for (const char* part : {"3 failed, 1 remark, 6 passed", "Height of the head: 30.1 mm (32–36)",
                           "too small: 1.9 mm missing", "Head turned sideways: 12° (-5 to 5 ± 3)",
                           "turn your head to your right", "Lips closed", "Light from both sides", "the left half",
                           "Passed: Width", "Only shown: Lean of the head 1°", "Not assessed: 36"}) {
    const size_t place = PlaceOf(texts, part);
    EXPECT_LE(last, place) << part;
    last = place;
  }
}

// Pixels of an ink in a box.
int CountInk(const Image& image, const PixelBox& box, Ink ink) {
  int count = 0;
  for (int y = std::max(box.top, 0); y < std::min(box.bottom, image.height); ++y) {
    for (int x = std::max(box.left, 0); x < std::min(box.right, image.width); ++x) {
      const uint8_t* p = image.At(x, y);
      count += p[0] == ink.blue && p[1] == ink.green && p[2] == ink.red ? 1 : 0;
    }
  }
  return count;
}

TEST(DrawCheck, MarksHaveTheStatesOfTheirMeasures) {
  Image photograph = FlatPicture(150, 170, 200);
  Paint(&photograph, 100, 120, 150, [](int x, int y) { return x > 210 && x < 270 && y > 350 && y < 395; });
  PhotoCheck check = FlatCheck();
  check.person.reset();  // nothing beside the picture but the marks' words
  const Image drawn = DrawCheck(photograph, check, DrawingParts::kPictureOnly);
  // The picture lies where its own colour begins, 1600 pixels wide.
  int left = 0, top = 0;
  const auto isPhotograph = [&drawn](int x, int y) { return drawn.At(x, y)[0] == 150 && drawn.At(x, y)[2] == 200; };
  while (!isPhotograph(left, drawn.height / 2) && left < drawn.width - 1) ++left;
  while (!isPhotograph(left + 100, top) && top < drawn.height - 1) ++top;
  const auto around = [&](double x, double y, int reach) {
    const double scale = 1600.0 / 616;
    const int cx = left + static_cast<int>(x * scale), cy = top + static_cast<int>(y * scale);
    return PixelBox{cx - reach, cy - reach, cx + reach, cy + reach};
  };
  const Ink failed = InkOf(FindingState::kFailed), passed = InkOf(FindingState::kPassed);
  const PixelBox mouth = around(262, 402, 6), eye = around(231, 272, 6), cheek = around(239, 380, 8);
  EXPECT_LT(0, CountInk(drawn, mouth, failed));
  EXPECT_EQ(0, CountInk(drawn, mouth, passed));
  EXPECT_LT(0, CountInk(drawn, eye, passed));
  EXPECT_EQ(0, CountInk(drawn, eye, failed));
  EXPECT_LT(0, CountInk(drawn, cheek, InkOf(FindingState::kRemark)));
}

TEST(DrawCheck, TakesAnyPictureAndPlaces) {
  const double kNone = std::numeric_limits<double>::quiet_NaN();
  for (const auto& [width, height] : {std::pair(1, 1), {3000, 1}, {1, 3000}, {120, 150}}) {
    Image photograph(width, height);
    std::fill(photograph.bgr.begin(), photograph.bgr.end(), uint8_t{90});
    for (const double place : {-1e300, 1e12, kNone}) {
      PhotoCheck check = FlatCheck();
      PersonGeometry& person = *check.person;
      person.headTop = person.chin = place;
      person.faceWidth = person.crown = -place;
      FlatFace face;
      for (int point : {33, 61, 4, 205, 234, 454}) face.Set(point, place, 1e9);
      check.face->mesh = std::make_shared<const FaceMesh>(face.mesh);
      const Image drawn = DrawCheck(photograph, check);
      EXPECT_LE(1200, std::max(drawn.width, drawn.height));
      EXPECT_GT(8000, std::max(drawn.width, drawn.height));
    }
    // Two persons: no geometry and no measures; no face at all; nothing.
    PhotoCheck check = FlatCheck();
    check.person.reset(), check.measures.clear();
    DrawCheck(photograph, check);
    check.face.reset();
    DrawCheck(photograph, check, DrawingParts::kPictureOnly);
    DrawCheck(photograph, {});
  }
}

TEST(Finished, DrawingsOfChecksAreAsStored) {
  const Image photograph = FlatPicture(150, 170, 200);
  Digests digests;
  digests.Add("whole", DrawCheck(photograph, FlatCheck()).bgr);
  digests.Add("picture only", DrawCheck(photograph, FlatCheck(), DrawingParts::kPictureOnly).bgr);
  ExpectStored("drawings", "these", digests.Lines());
}

}  // namespace
}  // namespace qx::photo
