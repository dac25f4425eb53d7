// Which face is checked, on photographs of two; what its measures say of it and of defects that were made.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>

#include "codec/codec.h"
#include "photo/base/resize.h"
#include "photo/studio.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

// The sample, its pixels times `light`, and beside it the sample at 0.7 times its size.
Image Two(double light) {
  Image large = codec::ReadImage(QX_SAMPLE_PHOTO);
  const Rectangle all{0, 0, static_cast<double>(large.width), static_cast<double>(large.height)};
  const Image small = ResizeLanczos(large, all, large.width * 7 / 10, large.height * 7 / 10);
  for (uint8_t& byte : large.bgr) byte = static_cast<uint8_t>(byte * light);
  Image both(large.width + small.width, large.height);
  std::fill(both.bgr.begin(), both.bgr.end(), uint8_t{255});
  for (int32_t y = 0; y < large.height; ++y) std::copy_n(large.At(0, y), 3 * large.width, both.At(0, y));
  for (int32_t y = 0; y < small.height; ++y) std::copy_n(small.At(0, y), 3 * small.width, both.At(large.width, y));
  return both;
}

TEST(CheckSample, ScoresTheFaceThatItMeasures) {
  for (const double light : {0.12, 1.0}) {
    const Image both = Two(light);
    const std::vector<ProbedFace> faces = FaceFinder().Find(both);
    ASSERT_EQ(2u, faces.size());
    // The engine likes a small bright face better than a large dark one.
    EXPECT_EQ(light < 1, faces[0].Width() < faces[1].Width());
    const PhotoCheck check = Studio().Check(both, {}, FindPreset("one-inch"));
    const auto brightness = std::find_if(check.lines.begin(), check.lines.end(),
                                         [](const CheckLine& line) { return line.name == "brightness"; });
    ASSERT_NE(check.lines.end(), brightness);
    EXPECT_EQ(light < 1, brightness->value < 60) << brightness->value;
  }
}

TEST(CheckSample, MeasuresBothPersonsOfADocumentOfTwo) {
  const PhotoCheck check = Studio().Check(Two(1), {}, FindPreset("cn-marriage-certificate"));
  constexpr size_t kEach = static_cast<size_t>(MeasureId::kCount);
  ASSERT_EQ(2 * kEach, check.measures.size());
  for (size_t i = 0; i < kEach; ++i) {
    EXPECT_EQ(check.measures[i].id, check.measures[i + kEach].id);
    EXPECT_TRUE(check.measures[i].person == "left" && check.measures[i + kEach].person == "right");
  }
  const auto value = [&check](MeasureId id, size_t person) {
    return *check.measures[static_cast<size_t>(id) + person * kEach].value;
  };
  EXPECT_NEAR(0.7, value(MeasureId::kInterEyeDistance, 1) / value(MeasureId::kInterEyeDistance, 0), 0.05);
  for (const size_t person : {size_t{0}, size_t{1}}) EXPECT_EQ(0, value(MeasureId::kSingleFacePresent, person));
  EXPECT_FALSE(check.Passed());  // by its size alone
  size_t counted = check.Counts().passed + check.Counts().failed + check.Counts().remarks + check.Counts().notAssessed;
  EXPECT_EQ(2 * kEach + 4, counted);  // width, height, resolution, faces
}

using Measures = std::map<std::string, Measure>;

Measures MeasuresOf(const Image& picture, bool child = false) {
  Measures measures;
  for (const Measure& measure : Studio().Check(picture, {}, FindPreset("one-inch"), child).measures) {
    measures[measure.id] = measure;
  }
  return measures;
}

// The sample with change(x, y, pixel) done to each pixel.
template <typename Change>
Image Changed(Change change) {
  Image picture = codec::ReadImage(QX_SAMPLE_PHOTO);
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) change(x, y, picture.At(x, y));
  }
  return picture;
}

uint8_t Times(uint8_t byte, double factor) {
  return static_cast<uint8_t>(std::min(255.0, byte * factor));
}

// Names, values and states as they are stored. What the networks compute differs a little from processor to processor.
TEST(CheckSample, MeasuresAreAsStored) {
  const Measures measures = MeasuresOf(codec::ReadImage(QX_SAMPLE_PHOTO));
  std::ifstream stored(QX_GOLDEN_FOLDER "/measures.txt");
  std::string id, value, state;
  size_t count = 0;
  for (; stored >> id >> value && std::getline(stored >> std::ws, state); ++count) {
    ASSERT_EQ(1u, measures.count(id)) << id;
    const Measure& measure = measures.at(id);
    EXPECT_EQ(state, NameOf(measure.state)) << id;
    EXPECT_EQ(value == "-", !measure.value) << id;
    if (measure.value && value != "-") {
      const double wanted = std::stod(value);
      EXPECT_NEAR(wanted, *measure.value, 0.02 * std::abs(wanted) + 0.005) << id;
    }
  }
  EXPECT_EQ(measures.size(), count);
}

TEST(CheckSample, EachDefectIsSeenByItsMeasure) {
  const Image good = codec::ReadImage(QX_SAMPLE_PHOTO);
  const Measures plain = MeasuresOf(good);
  const auto expectFails = [&plain](const Image& picture, const std::string& id) {
    EXPECT_EQ(MeasureState::kPassed, plain.at(id).state) << id;
    EXPECT_EQ(MeasureState::kFailed, MeasuresOf(picture).at(id).state) << id;
  };
  const Rectangle all{0, 0, 512, 512}, small{0, 0, 256, 256};
  expectFails(ResizeLanczos(ResizeLanczos(good, all, 256, 256), small, 512, 512), "Sharpness");
  expectFails(
      Changed([](int, int, uint8_t* p) { std::transform(p, p + 3, p, [](uint8_t v) { return Times(v, 0.3); }); }),
      "EyeWhite");
  expectFails(Changed([](int, int, uint8_t* p) { std::fill_n(p, 3, p[1]); }), "ColourPicture");
  expectFails(Changed([](int, int, uint8_t* p) { p[2] = Times(p[2], 0.5); }), "NaturalColour");
  const ProbedFace face = FaceFinder().Find(good).at(0);
  const int32_t middle = face.keyPoints[2].x;
  expectFails(Changed([middle](int x, int, uint8_t* p) {
                if (x > middle) std::transform(p, p + 3, p, [](uint8_t v) { return Times(v, 0.4); });
              }),
              "CheekLight");
  Image red = good;
  for (const size_t eye : {size_t{0}, size_t{1}}) {
    const Point pupil = face.keyPoints[eye];
    for (int y = -3; y <= 3; ++y) {
      for (int x = -3; x <= 3; ++x) {
        uint8_t* p = red.At(pupil.x + x, pupil.y + y);
        p[0] = p[1] = 40, p[2] = 220;
      }
    }
  }
  expectFails(red, "RedEyes");
}

TEST(CheckSample, SidesAreThoseOfThePicture) {
  const Image good = codec::ReadImage(QX_SAMPLE_PHOTO);
  Image mirrored = good;
  for (int32_t y = 0; y < good.height; ++y) {
    for (int32_t x = 0; x < good.width; ++x) std::copy_n(good.At(good.width - 1 - x, y), 3, mirrored.At(x, y));
  }
  const Measures one = MeasuresOf(good), other = MeasuresOf(mirrored);
  for (const char* id : {"HeadPoseYaw", "HeadPoseRoll", "GazeSideways"}) {
    EXPECT_NEAR(*one.at(id).value, -*other.at(id).value, 3) << id;
  }
  EXPECT_NEAR(*one.at("HeadPosePitch").value, *other.at("HeadPosePitch").value, 2);
  EXPECT_NEAR(*one.at("LeftwardCropOfTheFaceImage").value, *other.at("RightwardCropOfTheFaceImage").value, 0.2);
}

TEST(CheckSample, SmallChildrenAreExempt) {
  const Measures child = MeasuresOf(codec::ReadImage(QX_SAMPLE_PHOTO), true);
  for (const char* id : {"HeadPoseYaw", "GazeSideways", "ExpressionNeutrality"}) {
    EXPECT_TRUE(child.at(id).value && child.at(id).state == MeasureState::kNotAssessed) << id;
  }
  EXPECT_EQ(MeasureState::kPassed, child.at("EyesOpen").state);
}

}  // namespace
}  // namespace qx::photo
