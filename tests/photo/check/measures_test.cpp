// The measures on pictures whose values are worked out on paper.
#include "photo/check/measures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "support/flat_face.h"

namespace qx::photo {
namespace {

using namespace qx::test;

Measure Of(const std::vector<Measure>& measures, const std::string& id) {
  for (const Measure& measure : measures) {
    if (measure.id == id) return measure;
  }
  ADD_FAILURE() << id;
  return {};
}

Measure MeasureOne(const Image& picture, const FlatFace& face, const std::string& id, const Mask* person = nullptr,
                   const MeasureOptions& options = {}) {
  return Of(MeasureFace(picture, face.Faces(), person, options), id);
}

void Expect(const Measure& measure, double value, std::optional<double> score, MeasureState state,
            double error = 1e-6) {
  ASSERT_TRUE(measure.value) << measure.id << ": " << measure.reason;
  EXPECT_NEAR(value, *measure.value, error) << measure.id;
  EXPECT_EQ(score, measure.score) << measure.id;
  EXPECT_STREQ(NameOf(state), NameOf(measure.state)) << measure.id << ": " << measure.reason;
}

constexpr MeasureState kPassed = MeasureState::kPassed, kFailed = MeasureState::kFailed,
                       kRemark = MeasureState::kRemark, kNotAssessed = MeasureState::kNotAssessed;

TEST(Measures, FlatGrey) {
  const auto measures = MeasureFace(FlatPicture(128, 128, 128), FlatFace().Faces(), nullptr);
  Expect(Of(measures, "LuminanceMean"), 55 / 255.0, 58, kNotAssessed);  // linear light: 128 gives 55
  Expect(Of(measures, "LuminanceVariance"), 0, 0, kNotAssessed);
  Expect(Of(measures, "DynamicRange"), 0, 0, kFailed);
  Expect(Of(measures, "IlluminationUniformity"), 1, 100, kNotAssessed);
  Expect(Of(measures, "UnderExposurePrevention"), 0, 100, kPassed);
  Expect(Of(measures, "OverExposurePrevention"), 0, 100, kPassed);
  Expect(Of(measures, "NaturalColour"), 0, 100, kNotAssessed);  // the standard's formula takes grey for natural
  Expect(Of(measures, "ColourPicture"), 0, std::nullopt, kFailed);
  Expect(Of(measures, "CheekLight"), 1, std::nullopt, kPassed);
  Expect(Of(measures, "FaceLightZones"), 1, std::nullopt, kPassed);
  Expect(Of(measures, "FaceCovered"), 0, std::nullopt, kNotAssessed);
  Expect(Of(measures, "RedEyes"), 0, std::nullopt, kNotAssessed);
  for (const char* id : {"Sharpness", "CompressionArtifacts", "BackgroundUniformity"}) {
    EXPECT_FALSE(Of(measures, id).value) << id;
    EXPECT_EQ(kNotAssessed, Of(measures, id).state) << id;
  }
}

TEST(Measures, HalfLit) {
  Image picture = FlatPicture(128, 128, 128);
  Paint(&picture, 188, 188, 188, [](int x, int) { return x >= 308; });
  const auto measures = MeasureFace(picture, FlatFace().Faces(), nullptr);
  // 188 gives 128: as many pixels of one as of the other.
  Expect(Of(measures, "LuminanceMean"), 183 / 510.0, 96, kNotAssessed);
  Expect(Of(measures, "LuminanceVariance"), 73 * 73 / 260100.0, 99, kNotAssessed);
  Expect(Of(measures, "DynamicRange"), 1, 13, kFailed);
  Expect(Of(measures, "IlluminationUniformity"), 0, 0, kNotAssessed);
  Expect(Of(measures, "CheekLight"), 128 / 188.0, std::nullopt, kRemark);
  EXPECT_NE(std::string::npos, Of(measures, "CheekLight").reason.find("left"));
  Paint(&picture, 63, 63, 63, [](int x, int) { return x >= 308; });
  const Measure dark = MeasureOne(picture, FlatFace(), "CheekLight");
  Expect(dark, 63 / 128.0, std::nullopt, kFailed);
  EXPECT_NE(std::string::npos, dark.reason.find("right"));
}

TEST(Measures, ExposureCountsPixels) {
  Image picture = FlatPicture(80, 80, 80);                             // gives 20
  Paint(&picture, 255, 255, 255, [](int, int y) { return y < 305; });  // 65 of the hull's 260 rows
  const auto measures = MeasureFace(picture, FlatFace().Faces(), nullptr);
  Expect(Of(measures, "UnderExposurePrevention"), 0.75, 96, kPassed);
  Expect(Of(measures, "OverExposurePrevention"), 0.25, 4, kFailed);
}

TEST(Measures, SkinAndOtherColours) {
  const auto colour = [](uint8_t blue, uint8_t green, uint8_t red) {
    return MeasureFace(FlatPicture(blue, green, red), FlatFace().Faces(), nullptr);
  };
  Expect(Of(colour(130, 150, 200), "NaturalColour"), 0, 100, kPassed);          // a* 17.4, b* 18.3
  Expect(Of(colour(70, 110, 200), "NaturalColour"), 9.596, 55, kRemark, 0.01);  // a* 33.97, b* 38.40
  Expect(Of(colour(60, 120, 255), "NaturalColour"), 33.14, 7, kFailed, 0.01);   // a* 49.99, b* 56.77
  Expect(Of(colour(200, 120, 80), "NaturalColour"), 100, 0, kFailed);           // b* below 0
  Expect(Of(colour(100, 140, 200), "ColourPicture"), 100, std::nullopt, kPassed);
  // A blue cloth below the nose on skin: a* 20.2, b* 30.9 against 4.7, -46.7.
  Image picture = FlatPicture(100, 140, 200);
  Paint(&picture, 200, 120, 80, [](int, int y) { return y > 320; });
  Expect(MeasureOne(picture, FlatFace(), "FaceCovered"), std::hypot(15.44, 77.62), std::nullopt, kRemark, 0.05);
}

TEST(Measures, WhitesTellTheLight) {
  // Skin of a* 20.2 and b* 30.9 is natural; its eyes decide what light it stands in.
  const auto isEye = [](int x, int y) { return y > 255 && y < 290 && (x < 280 || x > 335); };
  const auto state = [&](uint8_t blue, uint8_t green, uint8_t red) {
    Image picture = FlatPicture(100, 140, 200);
    Paint(&picture, blue, green, red, isEye);
    const Measure measure = MeasureOne(picture, FlatFace(), "NaturalColour");
    EXPECT_EQ(0, measure.value);
    return measure.state;
  };
  EXPECT_EQ(kPassed, state(190, 195, 205));
  EXPECT_EQ(kPassed, state(150, 170, 190));  // b* 14.3
  EXPECT_EQ(kRemark, state(220, 190, 190));  // bluish
  EXPECT_EQ(kRemark, state(190, 205, 190));  // greenish
  EXPECT_EQ(kRemark, state(110, 170, 200));  // yellow
}

TEST(Measures, DarkForehead) {
  Image picture = FlatPicture(120, 150, 200);
  Paint(&picture, 60, 75, 100, [](int, int y) { return y < 270; });
  const auto measures = MeasureFace(picture, FlatFace().Faces(), nullptr);
  Expect(Of(measures, "ForeheadCovered"), 0.5, std::nullopt, kRemark, 1e-3);
  EXPECT_EQ(kNotAssessed, Of(measures, "FaceLightZones").state);
  // A dark chin is the light's.
  picture = FlatPicture(120, 150, 200);
  Paint(&picture, 48, 75, 100, [](int, int y) { return y > 430; });
  Expect(MeasureOne(picture, FlatFace(), "FaceLightZones"), 0.4, std::nullopt, kFailed, 1e-3);
}

TEST(Measures, SharpnessIsDetailByScaleNotByContrast) {
  // A wave of 16 pixels keeps 0.9258, 0.7346 and 0.2912 of its height under blurs of 1, 2 and 4 pixels.
  for (const double height : {20.0, 60.0}) {
    Image picture = FlatPicture(0, 0, 0);
    for (int y = 0; y < kFlatSide; ++y) {
      for (int x = 0; x < kFlatSide; ++x) {
        const double wave = 128 + height * std::sin(x * 2 * 3.14159265358979 / 16);
        std::fill_n(picture.At(x, y), 3, static_cast<uint8_t>(std::lround(wave)));
      }
    }
    Expect(MeasureOne(picture, FlatFace(), "Sharpness"), 0.4312, std::nullopt, kFailed, 0.004);
  }
}

TEST(Measures, DetailInOneDirectionIsMotion) {
  // Down the picture waves of 8 pixels, aside of 32: 0.735, 0.291, 0.007 and 0.981, 0.926, 0.735 are left of them.
  Image picture = FlatPicture(0, 0, 0);
  for (int y = 0; y < kFlatSide; ++y) {
    for (int x = 0; x < kFlatSide; ++x) {
      const double turns = 2 * 3.14159265358979;
      const double waves = 128 + 40 * std::sin(y * turns / 8) + 40 * std::sin(x * turns / 32);
      std::fill_n(picture.At(x, y), 3, static_cast<uint8_t>(std::lround(waves)));
    }
  }
  const Measure moved = MeasureOne(picture, FlatFace(), "Sharpness");
  Expect(moved, 1.304, std::nullopt, kFailed, 0.01);
  EXPECT_NE(std::string::npos, moved.reason.find("one direction"));
}

TEST(Measures, BlocksOfJpeg) {
  // Edges of 4 at all eight places of the grid in turn; at its borders of `border`.
  const auto picture = [](int border) {
    std::vector<int> line(630, 100);
    for (int i = 1, value = 100, sign = 1; i < 630; ++i) {
      if ((i - 1) % 11 == 0 && i > 1 && i <= 617) {
        const int height = (i - 1) % 8 == 7 ? border : 4;
        value += sign * height;
        sign = value > 100 ? -1 : 1;
      }
      line[static_cast<size_t>(i)] = value;
    }
    Image image(630, 630);
    for (int y = 0; y < 630; ++y) {
      for (int x = 0; x < 630; ++x) {
        const int v = (line[static_cast<size_t>(x)] + line[static_cast<size_t>(y)]) / 2;
        std::fill_n(image.At(x, y), 3, static_cast<uint8_t>(v));
      }
    }
    return image;
  };
  Expect(MeasureOne(picture(4), FlatFace(), "CompressionArtifacts"), 1, std::nullopt, kPassed, 0.05);
  Expect(MeasureOne(picture(12), FlatFace(), "CompressionArtifacts"), 3, std::nullopt, kPassed, 0.1);
  Expect(MeasureOne(picture(20), FlatFace(), "CompressionArtifacts"), 5, std::nullopt, kFailed, 0.2);
}

TEST(Measures, LidsAndLips) {
  const Image picture = FlatPicture(120, 150, 200);
  FlatFace face;
  Expect(MeasureOne(picture, face, "EyesOpen"), 0.1, 100, kPassed);
  Expect(MeasureOne(picture, face, "EyeOpenness"), 0.5, std::nullopt, kPassed);
  Expect(MeasureOne(picture, face, "MouthClosed"), 0.05, 92, kNotAssessed);
  Expect(MeasureOne(picture, face, "LipGap"), 0.4, std::nullopt, kPassed);
  face.Open(4);
  Expect(MeasureOne(picture, face, "EyesOpen"), 0.02, 50, kFailed);
  Expect(MeasureOne(picture, face, "EyeOpenness"), 0.1, std::nullopt, kFailed);
  for (const char* id : {"EyeWhite", "RedEyes", "DarkGlasses", "GazeSideways"}) {
    const Measure measure = MeasureOne(picture, face, id);
    EXPECT_TRUE(measure.state == kNotAssessed && !measure.value) << id;
  }
  face.Set(14, 307.5, 415);  // 18 open over 17 of lip
  Expect(MeasureOne(picture, face, "LipGap"), 18 / 17.0, std::nullopt, kFailed);
}

TEST(Measures, BetweenTheLids) {
  Image picture = FlatPicture(128, 128, 128);
  Expect(MeasureOne(picture, FlatFace(), "EyeWhite"), 55 / 255.0, std::nullopt, kPassed);
  Expect(MeasureOne(picture, FlatFace(), "GlassesGlare"), 0, std::nullopt, kPassed);
  picture = FlatPicture(118, 128, 138);
  Expect(MeasureOne(picture, FlatFace(), "RedEyes"), 0, std::nullopt, kPassed);
  // The worse eye counts: a pupil of 121 pixels, red above the 13 of its middle row.
  Paint(&picture, 40, 40, 255, [](int x, int y) { return std::hypot(x - 364, y - 272) < 8 && y < 272; });
  Expect(MeasureOne(picture, FlatFace(), "RedEyes"), 0.5 - 0.5 * 13 / 121, std::nullopt, kFailed, 1e-3);
  // The better eye counts: 60 gives 12.
  picture = FlatPicture(60, 60, 60);
  Expect(MeasureOne(picture, FlatFace(), "EyeWhite"), 11 / 255.0, std::nullopt, kFailed, 1.1 / 255);
  EXPECT_EQ(kNotAssessed, MeasureOne(picture, FlatFace(), "DarkGlasses").state);
  Paint(&picture, 128, 128, 128, [](int x, int) { return x > 308; });
  Expect(MeasureOne(picture, FlatFace(), "EyeWhite"), 55 / 255.0, std::nullopt, kPassed);
  // A bright face (128 gives 0.216) cannot lack light; its eyes are in the shade.
  picture = FlatPicture(128, 128, 128);
  Paint(&picture, 60, 60, 60, [](int, int y) { return y > 255 && y < 290; });
  Expect(MeasureOne(picture, FlatFace(), "EyeWhite"), 11 / 255.0, std::nullopt, kRemark, 1.1 / 255);
  picture = FlatPicture(30, 30, 30);
  EXPECT_EQ(kFailed, MeasureOne(picture, FlatFace(), "DarkGlasses").state);
  // A half of what surrounds an eye; its own column is a fortieth.
  picture = FlatPicture(128, 128, 128);
  Paint(&picture, 240, 240, 240, [](int x, int) { return x < 251; });
  Expect(MeasureOne(picture, FlatFace(), "GlassesGlare"), 0.5, std::nullopt, kFailed, 0.02);
}

TEST(Measures, WhereTheFaceStands) {
  const auto measures = MeasureFace(FlatPicture(120, 150, 200), FlatFace().Faces(), nullptr);
  Expect(Of(measures, "HeadSize"), 200.0 / 616, 15, kNotAssessed);
  Expect(Of(measures, "LeftwardCropOfTheFaceImage"), 364.5 / 113, 100, kPassed);
  Expect(Of(measures, "RightwardCropOfTheFaceImage"), 364.5 / 113, 100, kPassed);
  Expect(Of(measures, "MarginAboveOfTheFaceImage"), 272.5 / 200, 41, kPassed);
  Expect(Of(measures, "MarginBelowOfTheFaceImage"), 343.5 / 200, 30, kPassed);
  Expect(Of(measures, "SingleFacePresent"), 0, 100, kPassed);
  std::vector<ProbedFace> two = FlatFace().Faces();
  two.push_back(two[0].Moved(0, 0, 0.5, 0.5));
  Expect(Of(MeasureFace(FlatPicture(9, 9, 9), two, nullptr), "SingleFacePresent"), 0.25, 75, kFailed, 1e-2);
  // The eye that is near the left edge: 0.8 of the eyes' distance.
  const std::vector<ProbedFace> cut = FlatFace().Faces(1, 251.5 - 0.8 * 113, 0);
  Expect(Of(MeasureFace(FlatPicture(9, 9, 9), cut, nullptr), "LeftwardCropOfTheFaceImage"), 1.8, 100, kFailed);
  // An edge across the lips: they are not in the picture, and neither is the chin.
  const auto below = MeasureFace(FlatPicture(120, 150, 200), FlatFace().Faces(1, 0, -200), nullptr);
  Expect(Of(below, "MarginBelowOfTheFaceImage"), 143.5 / 200, 0, kFailed);
  for (const char* id : {"LipGap", "MouthClosed", "ExpressionNeutrality"}) EXPECT_FALSE(Of(below, id).value) << id;
  EXPECT_TRUE(Of(below, "EyesOpen").value);
  // An edge across the eyes.
  const auto above = MeasureFace(FlatPicture(120, 150, 200), FlatFace().Faces(1, 0, 280), nullptr);
  EXPECT_EQ(kFailed, Of(above, "MarginAboveOfTheFaceImage").state);
  for (const char* id : {"EyesOpen", "EyeOpenness", "EyeWhite", "RedEyes", "DarkGlasses", "GazeSideways"}) {
    EXPECT_FALSE(Of(above, id).value) << id;
  }
  EXPECT_TRUE(Of(above, "LipGap").value);
}

TEST(Measures, Walls) {
  Image picture = FlatPicture(120, 150, 200);
  const auto isLeft = [](int x, int) { return x < 210; };
  const auto isRight = [](int x, int) { return x >= 426; };
  Paint(&picture, 255, 255, 255, isLeft);
  Paint(&picture, 255, 255, 255, isRight);
  Mask person(kFlatSide, kFlatSide, 0);
  for (int y = 0; y < kFlatSide; ++y) std::fill(person.Row(y) + 210, person.Row(y) + 426, uint8_t{255});
  const auto measure = [&](const std::string& colour) {
    return MeasureFace(picture, FlatFace().Faces(), &person, {false, {colour}});
  };
  auto measures = measure("white");
  Expect(Of(measures, "BackgroundUniformity"), 0, 100, kNotAssessed);
  Expect(Of(measures, "BackgroundEvenness"), 0, std::nullopt, kPassed);
  Expect(Of(measures, "BackgroundShadow"), 0, std::nullopt, kPassed, 1e-3);
  Expect(Of(measures, "BackgroundLightness"), 100, std::nullopt, kPassed);
  Expect(Of(measures, "BackgroundColour"), 0, std::nullopt, kPassed);
  EXPECT_EQ(kFailed, Of(measure("#80c0ff"), "BackgroundColour").state);
  EXPECT_EQ(kRemark, Of(measure("#c8c8c8"), "BackgroundColour").state);
  EXPECT_FALSE(Of(measure("as it is"), "BackgroundColour").value);
  // The smaller right side in shadow: 200 has L* 80.60.
  Paint(&picture, 200, 200, 200, isRight);
  measures = measure("white");
  Expect(Of(measures, "BackgroundEvenness"), 19.396, std::nullopt, kFailed, 0.01);
  Expect(Of(measures, "BackgroundShadow"), 19.396, std::nullopt, kFailed, 0.01);
  Expect(Of(measures, "BackgroundUniformity"), 0, 100, kNotAssessed);
  // No wall.
  std::fill(person.values.begin(), person.values.end(), uint8_t{255});
  EXPECT_FALSE(Of(measure("white"), "BackgroundEvenness").value);
}

TEST(Measures, SlopeOfAWall) {
  Mask person(kFlatSide, kFlatSide, 0);
  Image picture = FlatPicture(255, 255, 255);
  // An edge across the whole wall from 255 to 0 between two rows of the small picture: the kernels see 16 x 255 in two
  // of its 292 rows, less where the edge falls between pixels.
  Paint(&picture, 0, 0, 0, [](int, int y) { return y >= 200; });
  const Measure measure = MeasureOne(picture, FlatFace(), "BackgroundUniformity", &person);
  ASSERT_TRUE(measure.value);
  EXPECT_NEAR(2 * 16 * 255 / 292.0, *measure.value, 1.5);
}

TEST(Measures, AnyInputGivesAllMeasures) {
  const FlatFace face;
  FlatFace collapsed, flat;
  collapsed.mesh.points.fill({300, 300});
  flat.mesh.hasDepth = false;
  std::vector<ProbedFace> hidden = face.Faces(), unmeshed = face.Faces();
  hidden[0].presence = 300;
  unmeshed[0].mesh = nullptr;
  const std::vector<ProbedFace> cases[] = {
      {},     face.Faces(), face.Faces(0.1),   face.Faces(0.02), face.Faces(1, 300, 0),     face.Faces(1, 0, 400),
      hidden, unmeshed,     collapsed.Faces(), flat.Faces(),     face.Faces(1, 5000, 5000), face.Faces(30)};
  Image grey = FlatPicture(128, 128, 128), small(1, 1);
  std::fill(small.bgr.begin(), small.bgr.end(), uint8_t{0});
  for (const Image* picture : {&grey, &small}) {
    const Mask none(picture->width, picture->height, 0), all(picture->width, picture->height, 255);
    for (const auto& faces : cases) {
      for (const Mask* person : {static_cast<const Mask*>(nullptr), &none, &all}) {
        const auto measures = MeasureFace(*picture, faces, person, {person == &none, {"white"}});
        std::set<std::string> ids;
        for (const Measure& measure : measures) {
          ids.insert(measure.id);
          EXPECT_TRUE(!measure.value || std::isfinite(*measure.value)) << measure.id;
          EXPECT_EQ(measure.state == kPassed, measure.reason.empty()) << measure.id;
          EXPECT_TRUE(measure.value || measure.state == kNotAssessed || measure.id == "HeadPoseYaw") << measure.id;
        }
        EXPECT_EQ(static_cast<size_t>(MeasureId::kCount), ids.size());
      }
    }
  }
  EXPECT_EQ(kFailed, Of(MeasureFace(grey, hidden, nullptr), "HeadPoseYaw").state);
  EXPECT_EQ(kNotAssessed, Of(MeasureFace(grey, hidden, nullptr), "EyesOpen").state);
  EXPECT_EQ(kNotAssessed, Of(MeasureFace(grey, flat.Faces(), nullptr), "HeadPoseYaw").state);
  EXPECT_EQ(kPassed, Of(MeasureFace(grey, flat.Faces(), nullptr), "EyesOpen").state);
}

// What documents ask of the person, on a face with an open mouth.
TEST(Measures, DocumentsSayWhatCounts) {
  const Image grey = FlatPicture(128, 128, 128);
  FlatFace face;
  face.Set(14, 307.5, 417);
  PresetRules rules;
  rules.source = "https://authority.example/photo";
  rules.read = "2026-11-21";
  const auto measure = [&](const std::string& id, bool child = false) {
    MeasureOptions options{child, {}};
    options.rules = rules;
    return MeasureOne(grey, face, id, nullptr, options);
  };
  const auto names = [&rules](const std::string& text) { return text.find(rules.source) != std::string::npos; };
  const std::pair<std::optional<SmileRule>, MeasureState> smiles[] = {{std::nullopt, kFailed},
                                                                      {SmileRule::kForbidden, kFailed},
                                                                      {SmileRule::kMouthClosed, kFailed},
                                                                      {SmileRule::kAllowed, kNotAssessed}};
  for (const auto& [rule, state] : smiles) {
    rules.smile = rule;
    Expect(measure("LipGap"), 20 / 15.0, std::nullopt, state);
    EXPECT_EQ(state == kFailed && rule, names(measure("LipGap").source));
    EXPECT_EQ(state == kFailed, measure("LipGap").max.has_value());
    Expect(measure("LipGap", true), 20 / 15.0, std::nullopt, kNotAssessed);  // children are exempt
  }
  rules.glasses = GlassesRule::kNoGlare;
  EXPECT_TRUE(measure("GlassesGlare").state == kPassed && names(measure("GlassesGlare").source));
  rules.glasses = GlassesRule::kForbidden;
  EXPECT_TRUE(measure("GlassesGlare").state == kNotAssessed && names(measure("GlassesGlare").reason));
  for (const auto& [rule, word] : {std::pair(HeadCoveringRule::kAllowed, "that leave the face free"),
                                   {HeadCoveringRule::kReligious, "religious"},
                                   {HeadCoveringRule::kForbidden, "takes no coverings"}}) {
    rules.headCovering = rule;
    const std::string reason = measure("NoHeadCoverings").reason;
    EXPECT_TRUE(names(reason) && reason.find(word) != std::string::npos) << reason;
  }
}

TEST(Measures, DocumentsAndFilesSetLimits) {
  const Image grey = FlatPicture(128, 128, 128);
  MeasureOptions options;
  const auto eyes = [&](std::optional<double> leastHead) {
    options.leastHead = leastHead;
    return Of(MeasureFace(grey, FlatFace().Faces(0.5), nullptr, options), "InterEyeDistance").state;
  };
  // 56 pixels from eye to eye are too few, unless a document asks for no larger head.
  EXPECT_EQ(kFailed, eyes(std::nullopt));
  EXPECT_EQ(kFailed, eyes(334));
  EXPECT_EQ(kNotAssessed, eyes(333));
  const auto compression = [&](JpegQuality quality, bool mustBeSmall) {
    options.jpegQuality = quality;
    options.mustBeSmall = mustBeSmall;
    return MeasureOne(grey, FlatFace(), "CompressionArtifacts", nullptr, options);
  };
  EXPECT_EQ(kNotAssessed, compression({50, true}, false).state);
  EXPECT_EQ(kFailed, compression({49, true}, false).state);
  EXPECT_NE(std::string::npos, compression({30, false}, false).reason.find("JPEG quality about 30"));
  EXPECT_EQ(kRemark, compression({30, true}, true).state);  // a file that must be small cannot help it
}

}  // namespace
}  // namespace qx::photo
