// The parts of `make` that need no photograph of a person.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>

#include "host/document_file.h"
#include "host/fit_report.h"
#include "host/make_photo.h"
#include "host/pair_photo.h"
#include "host/placement.h"
#include "host/render_photo.h"
#include "host/resize.h"
#include "host/upright.h"
#include "test_files.h"

namespace qx::host {
namespace {

using vips::VImage;

Image NoiseImage(int width, int height) {
  Image image{width, height, {}};
  std::mt19937 random(7);
  for (int i = 0; i < width * height * 3; ++i) image.bgr.push_back(static_cast<uint8_t>(random() >> 24));
  return image;
}

VImage Decoded(const EncodedDocument& document, const char* suffix) {
  return VImage::new_from_buffer(document.bytes.data(), document.bytes.size(), suffix);
}

TEST(DocumentFile, CarriesResolutionAndNothingElse) {
  const Image image = GradientImage(120, 90);
  for (const int dpi : {300, 350, 600}) {
    for (const ImageFormat format : {ImageFormat::kJpeg, ImageFormat::kPng}) {
      const EncodedDocument file = EncodeDocument(image, format, dpi, std::nullopt, std::nullopt);
      const VImage decoded = Decoded(file, "");
      EXPECT_EQ(120, decoded.width());
      EXPECT_NEAR(dpi, decoded.xres() * 25.4, 0.02);
      EXPECT_NEAR(dpi, decoded.yres() * 25.4, 0.02);
      EXPECT_EQ(0u, decoded.get_typeof(VIPS_META_EXIF_NAME));
      EXPECT_EQ("", file.Remark());
    }
  }
  const EncodedDocument jpeg = EncodeDocument(image, ImageFormat::kJpeg, 300, std::nullopt, std::nullopt);
  const std::vector<uint8_t> header(jpeg.bytes.begin() + 6, jpeg.bytes.begin() + 18);
  EXPECT_EQ((std::vector<uint8_t>{'J', 'F', 'I', 'F', 0, 1, 1, 1, 300 >> 8, 300 & 255, 300 >> 8, 300 & 255}), header);
  EXPECT_EQ(kUsualQuality, jpeg.quality);
}

TEST(DocumentFile, MeetsLimitsOfSize) {
  const Image noise = NoiseImage(200, 200), smooth = GradientImage(200, 200);
  auto encode = [](const Image& image, std::optional<int32_t> min, std::optional<int32_t> max) {
    return EncodeDocument(image, ImageFormat::kJpeg, 300, min, max);
  };
  // The ceiling is met with the highest quality that meets it.
  const EncodedDocument limited = encode(noise, std::nullopt, 40);
  EXPECT_GE(40'000u, limited.bytes.size());
  EXPECT_LT(36'000u, limited.bytes.size());
  EXPECT_TRUE(limited.limited && limited.quality < kUsualQuality && limited.quality >= kLowestQuality);
  EXPECT_EQ(limited.bytes, encode(noise, std::nullopt, 40).bytes);
  EXPECT_TRUE(Contains(FailureOf([&] { encode(noise, std::nullopt, 5); }), "cannot be made as small as 5.0 kB"));

  // A floor by quality where that suffices, else by blanks; several segments of them when there are many.
  EXPECT_GT(encode(noise, 85, std::nullopt).quality, kUsualQuality);
  for (const int32_t floor : {30, 64, 65, 200}) {
    const EncodedDocument padded = encode(smooth, floor, std::nullopt);
    EXPECT_EQ(static_cast<size_t>(floor) * kFloorKilobyte, padded.bytes.size());
    EXPECT_TRUE(Contains(padded.Remark(), "blanks"));
    const VImage decoded = Decoded(padded, "[fail-on=warning]");
    EXPECT_NEAR(300, decoded.xres() * 25.4, 0.02);
    EXPECT_LT(10, decoded.avg());
  }
  const EncodedDocument both = encode(noise, 20, 30);
  EXPECT_TRUE(both.bytes.size() >= 20 * 1024 && both.bytes.size() <= 30'000);
  EXPECT_TRUE(Contains(FailureOf([&] { encode(noise, 40, 40); }), "turn them round"));  // 40,960 is above 40,000
  EXPECT_TRUE(Contains(FailureOf([&] { EncodeDocument(noise, ImageFormat::kPng, 300, std::nullopt, 50); }),
                       "write a .jpg file"));
}

TEST(ResizeLanczos, KeepsWhatItShould) {
  const Image gradient = GradientImage(60, 40);
  EXPECT_EQ(gradient.bgr, ResizeLanczos(gradient, {0, 0, 60, 40}, 60, 40).bgr);  // the identity
  const Image flat{30, 20, std::vector<uint8_t>(1800, 77)};
  for (const auto& [w, h] : {std::pair(7, 5), std::pair(30, 20), std::pair(91, 64)}) {
    const Image sized = ResizeLanczos(flat, {-3.5, 2.25, 40, 11}, w, h);
    EXPECT_EQ(std::vector<uint8_t>(static_cast<size_t>(w * h) * 3, 77), sized.bgr);
  }
  // A ramp stays the same ramp at another scale: the value follows from the place of the pixel's middle.
  Image ramp{200, 8, {}};
  for (int i = 0; i < 200 * 8; ++i) ramp.bgr.insert(ramp.bgr.end(), 3, static_cast<uint8_t>(i % 200));
  for (const int width : {25, 60, 150, 300}) {
    const Image sized = ResizeLanczos(ramp, {40, 0, 100, 8}, width, 8);
    for (int x = 0; x < width; ++x) {
      EXPECT_NEAR(40 + (x + 0.5) * 100 / width - 0.5, sized.bgr[static_cast<size_t>(3 * x)], 0.51) << width << " " << x;
    }
  }
}

TEST(Upright, TurnsExactly) {
  const Image image = GradientImage(5, 3);
  for (const int turns : {0, 1, 2, 3}) {
    const VImage turned = ToVips(image).rot(static_cast<VipsAngle>(VIPS_ANGLE_D0 + turns));
    EXPECT_EQ(Reread(turned).bgr, TurnClockwise(image, turns).bgr) << turns;
  }
}

// A head of 200 pixels in the middle of a photograph of 800 x 1000 pixels, shown down to the lower edge.
PersonGeometry TypicalPerson() {
  PersonGeometry person;
  person.width = 800;
  person.height = 1000;
  person.headTop = 300;
  person.eyes = 400;
  person.chin = 500;
  person.centre = 400;
  person.faceLeft = 330;
  person.faceWidth = 140;
  person.foot = 1000;
  person.leftCut = person.rightCut = 1000;
  return person;
}

struct Attempt {
  Document document;
  Goals goals;
  std::optional<Rectangle> nearest;
  std::vector<Miss> misses;
  std::string text;
};

Attempt Try(const char* preset, const PersonGeometry& person, bool keep = false) {
  Attempt attempt;
  attempt.document = Derive(FindPreset(preset));
  attempt.goals = GoalsOf(attempt.document);
  Obstacles obstacles;
  obstacles.keep = keep;
  const double proportions = 1.0 * attempt.document.width / attempt.document.height;
  attempt.nearest = FindNearest(person, attempt.goals, proportions, obstacles);
  if (attempt.nearest) {
    EXPECT_TRUE(IsClear(*attempt.nearest, person, obstacles));
    EXPECT_NEAR(proportions, attempt.nearest->width / attempt.nearest->height, 1e-9);
    EXPECT_NEAR(person.centre, attempt.nearest->left + attempt.nearest->width / 2, 1e-9);
    attempt.misses = MissesOf(MeasuresIn(*attempt.nearest, person), attempt.goals);
  }
  attempt.text = NoFitText(person, attempt.document, attempt.goals, obstacles, attempt.nearest);
  return attempt;
}

TEST(Placement, MeetsTheBoundsInTheirMiddle) {
  for (const char* preset : {"schengen-visa", "cn-visa", "jp-passport", "one-inch", "ca-passport", "nl-passport"}) {
    const Attempt attempt = Try(preset, TypicalPerson());
    ASSERT_TRUE(attempt.nearest) << preset;
    EXPECT_TRUE(attempt.misses.empty()) << preset;
    const PhotoMeasures measures = MeasuresIn(*attempt.nearest, TypicalPerson());
    if (attempt.goals.head) {
      EXPECT_NEAR((attempt.goals.head->min + attempt.goals.head->max) / 2, measures.head, 0.02) << preset;
    }
    EXPECT_LT(0, measures.top);
  }
}

TEST(Placement, SaysWhatFailsAndByHowMuch) {
  PersonGeometry person = TypicalPerson();
  person.foot = 520;  // the photograph ends at the chin
  Attempt attempt = Try("cn-visa", person);
  ASSERT_FALSE(attempt.misses.empty());
  EXPECT_TRUE(Contains(attempt.text, "the photograph ends too close below the chin")) << attempt.text;
  EXPECT_TRUE(Contains(attempt.text, "wanted 6.2 to 10.4 (3 to 5 mm)")) << attempt.text;
  EXPECT_TRUE(Contains(attempt.text, "--relax")) << attempt.text;
  EXPECT_LE(attempt.nearest->Bottom(), 520.001);

  person = TypicalPerson();
  person.leftCut = 450;  // a close-up: the shoulder leaves the photograph above the chin
  person.centre = 120;
  attempt = Try("us-passport", person);
  EXPECT_TRUE(Contains(attempt.text, "cut off at the photograph's left edge")) << attempt.text;
  EXPECT_TRUE(Contains(attempt.text, "step back or use --head")) << attempt.text;
  EXPECT_GE(attempt.nearest->left, -0.001);

  person = TypicalPerson();
  person.headTop = 0;
  person.eyes = 100;
  person.chin = 200;
  EXPECT_TRUE(Try("schengen-visa", person).misses.empty());  // room above is filled with background
  person.topCut = true;
  attempt = Try("schengen-visa", person);
  EXPECT_TRUE(Contains(attempt.text, "hair is cut off")) << attempt.text;
  EXPECT_TRUE(Contains(attempt.text, "space above the head 0 % of the height, wanted 6.1 to 12.2")) << attempt.text;
  person.topCut = false;
  attempt = Try("schengen-visa", person, true);
  EXPECT_TRUE(Contains(attempt.text, "the background that is kept ends with the photograph")) << attempt.text;

  person = TypicalPerson();
  person.headTop = 180;  // tall hair: the eyes cannot be as high as wanted above such a head
  Document document = Derive(FindPreset("us-passport"));
  document.head = Fraction{0.9, 0.95};
  const Goals goals = GoalsOf(document);
  const auto nearest = FindNearest(person, goals, 1, Obstacles());
  const std::string text = NoFitText(person, document, goals, Obstacles(), nearest);
  EXPECT_TRUE(Contains(text, "exclude each other")) << text;
}

TEST(Render, PutsBackgroundAroundAndNeverAfterThePhotographsEnd) {
  // A person in red that fills the lower half of a blue photograph and is cut at its foot.
  Image photograph{40, 40, {}};
  Mask mask;
  for (int i = 0; i < 1600; ++i) {
    const bool person = i >= 800 && i % 40 >= 10 && i % 40 < 30;
    const uint8_t blue = person ? 0 : 255, red = person ? 255 : 0;
    photograph.bgr.insert(photograph.bgr.end(), {blue, 0, red});
    mask.push_back(person ? 255 : 0);
  }
  Document document;
  document.width = document.height = 25;
  const Rectangle rectangle{-5, -10, 50, 50};  // beyond three sides, down to the foot
  const Image made = RenderPhoto(photograph, mask, ParseBackground("white"), rectangle, document);
  auto pixel = [&made](int x, int y) {
    const uint8_t* p = &made.bgr[static_cast<size_t>(3 * (y * made.width + x))];
    return std::array<int, 3>{p[0], p[1], p[2]};
  };
  EXPECT_EQ((std::array<int, 3>{255, 255, 255}), pixel(0, 0));
  EXPECT_EQ((std::array<int, 3>{255, 255, 255}), pixel(0, 24));
  EXPECT_EQ((std::array<int, 3>{255, 255, 255}), pixel(24, 12));
  EXPECT_EQ((std::array<int, 3>{0, 0, 255}), pixel(12, 24));  // no white line under the person
  const Image kept = RenderPhoto(photograph, mask, ParseBackground("keep"), {0, 0, 40, 40}, document);
  EXPECT_EQ(255, kept.bgr[0]);
}

TEST(Background, FollowsTheAuthoritysPolicy) {
  const Preset& strict = FindPreset("sg-passport");
  EXPECT_EQ("keep", ChooseBackground(strict, std::nullopt, false));
  EXPECT_EQ("keep", ChooseBackground(strict, "keep", false));
  EXPECT_TRUE(Contains(FailureOf([&] { ChooseBackground(strict, "white", false); }), "--force"));
  EXPECT_EQ("white", ChooseBackground(strict, std::nullopt, true));
  const Preset& free = FindPreset("cn-marriage-certificate");
  EXPECT_EQ("#d9001b", ChooseBackground(free, std::nullopt, false));
  EXPECT_EQ("white", ChooseBackground(free, "white", false));
  EXPECT_EQ("white", ChooseBackground(Preset(), std::nullopt, false));
}

TEST(ProgramMake, AnswersWrongUsageWithOneLineAndStatusTwo) {
  const TestFolder folder;
  ToVips(GradientImage(64, 64)).write_to_file((folder / "a.png").c_str());
  const Names make{"make", "a.png", "-o", "b.jpg"};
  const std::pair<Names, std::string> cases[] = {
      {{}, "--preset or give a --size"},
      {{"--preset", "us-pasport"}, "did you mean us-passport"},
      {{"--size", "35x45"}, "--size"},
      {{"--size", "35x45mm", "--head", "50-60mm"}, "does not fit into 45 mm"},
      {{"--preset", "cn-visa", "--background", "blue"}, "--background"},
      {{"--preset", "cn-visa", "--min-kb", "50", "--max-kb", "40"}, "least size"},
      {{"--preset", "cn-visa", "--dpi", "5"}, "--dpi"},
      {{"--preset", "cn-visa", "--person", "0"}, "--person"},
      {{"--preset", "cn-visa", "--person", "1", "--pair"}, "leave one of them out"},
      {{"--preset", "cn-visa", "--eyes", "11"}, "as a size from -10 to 10"},
      {{"--preset", "cn-visa", "--tone", "nan"}, "--tone"},
      {{"--preset", "de-passport", "--skin", "0.5"}, "takes no retouched photograph"},
      {{"--preset", "cn-visa", "--quiet", "--json"}, "--json"},
      {{"--preset", "cn-marriage-certificate"}, "add --pair"},
      {{"--preset", "au-passport", "--background", "white"}, "add --force"}};
  for (const auto& [options, reason] : cases) {
    EXPECT_EQ(2, StatusOfRefusal(folder, Joined(make, options), reason)) << reason;
  }
  EXPECT_EQ(2, RunProgram(folder, {"make", "a.png", "-o", "./a.png", "--preset", "cn-visa"}).status);
  EXPECT_EQ(2, RunProgram(folder, {"check", "a.png", "--preset", "cn-visa", "--draw", "a.png"}).status);
  EXPECT_EQ(2, RunProgram(folder, {"presets", "atlantis"}).status);
  EXPECT_EQ(Names{"a.png"}, folder.Names());

  // No face: one line, status 1, no file; the check still says what it can.
  EXPECT_EQ(1, StatusOfRefusal(folder, Joined(make, {"--preset", "cn-visa"}), "a.png: no face found"));
  const ProgramRun check = RunProgram(folder, {"check", "a.png", "--preset", "cn-visa"});
  EXPECT_EQ(1, check.status);
  EXPECT_TRUE(Contains(check.out, "a.png: failed\n  width              64 px   390              FAIL")) << check.out;
  EXPECT_EQ(Names{"a.png"}, folder.Names());
}

TEST(ProgramMake, ListsPresets) {
  const TestFolder folder;
  const ProgramRun table = RunProgram(folder, {"presets"}), one = RunProgram(folder, {"presets", "cn-visa"});
  const auto list = nlohmann::json::parse(RunProgram(folder, {"presets", "--json"}).out);
  EXPECT_EQ(Presets().size(), list.size());
  for (const Preset& preset : Presets()) EXPECT_TRUE(Contains(table.out, "\n" + preset.name + " ")) << preset.name;
  EXPECT_TRUE(Contains(one.out, "28-33mm")) << one.out;
  const auto visa = nlohmann::json::parse(RunProgram(folder, {"presets", "cn-visa", "--json"}).out);
  EXPECT_NEAR(28.0 / 48, visa["head"]["min"], 1e-9);
}

// Two faces 100 wide, 40 apart: by hand, the narrowest rectangle is 1.4 * 240 = 336 wide and 224 high at 3:2. Its heads
// are 150 high, so 74 remain; at least 50 below, at least 30 above: too little by 6, so it grows to 240 high.
TEST(Pair, FindsTheNarrowestRectangle) {
  const PersonGeometry person = TypicalPerson();
  PairGeometry pair;
  pair.left = 280;
  pair.right = 520;
  pair.faceWidth = 100;
  pair.headTop = 300;
  pair.chin = 450;
  pair.foot = 1000;
  pair.leftEdge = 100;
  pair.rightEdge = 700;
  PairPlacement placement = PlacePair(pair, {person, person}, 1.5, Obstacles(), false);
  ASSERT_TRUE(placement.rectangle);
  EXPECT_NEAR(230, placement.rectangle->height, 1.4);
  EXPECT_NEAR(345, placement.rectangle->width, 2);
  EXPECT_NEAR(400, placement.rectangle->left + placement.rectangle->width / 2, 1e-9);
  EXPECT_NEAR(270, placement.rectangle->top, 1e-9);  // 0.3 face widths above the hair
  EXPECT_EQ("", placement.problem);

  pair.left = 50;  // far apart: 700 x 467 would leave more than 200 above and below
  pair.right = 550;
  pair.rightEdge = 801;
  pair.leftEdge = 0;
  placement = PlacePair(pair, {person, person}, 1.5, Obstacles(), false);
  EXPECT_FALSE(placement.rectangle);
  EXPECT_TRUE(Contains(placement.problem, "too far apart")) << placement.problem;
  placement = PlacePair(pair, {person, person}, 1.5, Obstacles(), true);
  ASSERT_TRUE(placement.rectangle);
  EXPECT_NEAR(700, placement.rectangle->width, 1e-9);
  EXPECT_LT(placement.rectangle->top, 300 - 80);
  EXPECT_GT(placement.rectangle->Bottom(), 450 + 120);
}

}  // namespace
}  // namespace qx::host
