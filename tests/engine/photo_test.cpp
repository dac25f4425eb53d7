// The engine on a photograph: a portrait whose face is upright, about 110 of 512 pixels wide, and open-eyed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>
#include <vips/vips8>

#include "engine_instance.h"

namespace qx::face {
namespace {

class Photograph : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (VIPS_INIT("engine_test") != 0) vips_error_exit(nullptr);
    const vips::VImage photo = vips::VImage::new_from_file(QX_SAMPLE_PHOTO).colourspace(VIPS_INTERPRETATION_B_W);
    upright_ = new vips::VImage(photo.extract_band(0).cast(VIPS_FORMAT_UCHAR).copy_memory());
    reference_ = new FaceEntry(Engine().Detect(Read(*upright_)).at(0));
  }
  static void TearDownTestSuite() {
    delete reference_;
    delete upright_;
    vips_shutdown();
  }

  static Grey Read(const vips::VImage& image) {
    size_t size = 0;
    uint8_t* bytes = static_cast<uint8_t*>(image.write_to_memory(&size));
    Grey grey{image.width(), image.height(), std::vector<uint8_t>(bytes, bytes + size)};
    g_free(bytes);
    return grey;
  }

  static double Side(const FaceEntry& face) {
    return std::max(std::abs(face.corners[6] - face.corners[0]), std::abs(face.corners[7] - face.corners[1]));
  }

  // Exactly one face, whose box has its corners where those of the reference come to lie, within `tolerance` sides.
  static FaceEntry ExpectOne(Engine* engine, const Grey& image, const std::array<double, 8>& corners,
                             double tolerance) {
    const std::vector<FaceEntry> faces = engine->Detect(image);
    EXPECT_EQ(faces.size(), 1U);
    if (faces.size() != 1) return *reference_;
    const double side = std::max(std::abs(corners[6] - corners[0]), std::abs(corners[7] - corners[1]));
    for (size_t i = 0; i < 8; ++i) EXPECT_NEAR(faces[0].corners[i], corners[i], tolerance * side) << "corner " << i;
    return faces[0];
  }

  // The reference's corners under x -> xx * x + xy * y + x0 and y -> yx * x + yy * y + y0.
  static std::array<double, 8> Moved(double xx, double xy, double x0, double yx, double yy, double y0) {
    std::array<double, 8> moved;
    for (size_t i = 0; i < 8; i += 2) {
      const double x = reference_->corners[i], y = reference_->corners[i + 1];
      moved[i] = xx * x + xy * y + x0;
      moved[i + 1] = yx * x + yy * y + y0;
    }
    return moved;
  }

  static vips::VImage* upright_;
  static FaceEntry* reference_;
};

vips::VImage* Photograph::upright_ = nullptr;
FaceEntry* Photograph::reference_ = nullptr;

TEST_F(Photograph, PointsLieWhereTheyShouldOnTheFace) {
  Engine engine;
  const Grey image = Read(*upright_);
  const Description d = engine.Align(image, *reference_);
  EXPECT_GE(d.presence, 990);
  EXPECT_GE(reference_->unread, 750);
  const auto* k = d.keyPoints.data();
  const auto x = [k](int i) { return k[2 * i]; };
  const auto y = [k](int i) { return k[2 * i + 1]; };
  const int32_t eyes = x(1) - x(0);
  EXPECT_NEAR(eyes, Side(*reference_) / 2.6, Side(*reference_) * 0.08);
  EXPECT_NEAR(y(0), y(1), eyes * 0.15);
  EXPECT_TRUE(x(0) < x(2) && x(2) < x(1) && y(2) > y(0));                  // nose tip below and between the eyes
  EXPECT_TRUE(x(3) < x(9) && x(9) < x(4) && y(9) > y(8) && y(8) > y(2));   // mouth below the nose
  EXPECT_TRUE(y(5) < y(0) && y(6) < y(1) && y(10) > y(9) && y(7) < y(2));  // brows, chin, nose root
  EXPECT_TRUE(d.leftEye >= 120 && d.rightEye >= 120 && d.mouth > 50) << d.leftEye << ' ' << d.rightEye;
  // Points that several tables share are the same.
  for (const auto& [landmark, attribute] : {std::pair{0, 0}, {8, 16}, {16, 45}, {17, 46}, {21, 8}, {31, 32}}) {
    EXPECT_EQ(d.landmarks[2 * static_cast<size_t>(landmark)], d.attributes[2 * static_cast<size_t>(attribute)]);
    EXPECT_EQ(d.landmarks[2 * static_cast<size_t>(landmark) + 1], d.attributes[2 * static_cast<size_t>(attribute) + 1]);
  }
}

TEST_F(Photograph, DepthsAndIrisesAreThoseOfAHead) {
  Engine engine;
  constexpr int kNoseTip = 0, kLeftTemple = 9, kRightTemple = 24, kLeftCorner = 3, kRightCorner = 18;  // of the depths
  const vips::VImage large = upright_->resize(2), turned = upright_->rot90();
  const Description d = engine.Align(Read(*upright_), *reference_);
  const double width = Side(*reference_);
  // The nose stands out by a quarter to three quarters of the face before the temples, the eyes lie between.
  const double temples = (d.Depth(kLeftTemple) + d.Depth(kRightTemple)) / 2;
  EXPECT_TRUE(temples - d.Depth(kNoseTip) > width / 4 && temples - d.Depth(kNoseTip) < width * 3 / 4);
  for (const int corner : {kLeftCorner, kRightCorner}) {
    EXPECT_TRUE(d.Depth(corner) > d.Depth(kNoseTip) && d.Depth(corner) < temples);
  }
  // An iris lies between the corners of its eye, its rim around the centre, in the photograph's left eye first.
  for (int eye = 0; eye < 2; ++eye) {
    const int outer = eye == 0 ? 33 : 263, inner = eye == 0 ? 133 : 362;
    const float left = std::min(d.Mesh(outer, 0), d.Mesh(inner, 0));
    const float right = std::max(d.Mesh(outer, 0), d.Mesh(inner, 0));
    const float x = d.Iris(5 * eye, 0), y = d.Iris(5 * eye, 1);
    EXPECT_TRUE(x > left + (right - left) / 4 && x < right - (right - left) / 4);
    EXPECT_NEAR(y, (d.Mesh(outer, 1) + d.Mesh(inner, 1)) / 2, (right - left) / 4);
    float sumX = 0, sumY = 0;
    for (int i = 1; i < 5; ++i) {
      const float dx = d.Iris(5 * eye + i, 0) - x, dy = d.Iris(5 * eye + i, 1) - y;
      EXPECT_NEAR(std::hypot(dx, dy), (right - left) * 0.21F, (right - left) * 0.07F);
      sumX += dx;
      sumY += dy;
    }
    EXPECT_NEAR(std::hypot(sumX, sumY), 0, (right - left) * 0.1F);
  }
  // Twice the size has twice the depth; a quarter turn leaves it.
  const FaceEntry twice = engine.Detect(Read(large)).at(0), lying = engine.Detect(Read(turned)).at(0);
  const Description two = engine.Align(Read(large), twice), quarter = engine.Align(Read(turned), lying);
  for (int i = 0; i < QX_FACE_DEPTH_POINTS; ++i) {
    EXPECT_NEAR(two.Depth(i) - two.Depth(kNoseTip), 2 * (d.Depth(i) - d.Depth(kNoseTip)), 0.1 * width) << i;
    EXPECT_NEAR(quarter.Depth(i) - quarter.Depth(kNoseTip), d.Depth(i) - d.Depth(kNoseTip), 0.05 * width) << i;
  }
}

TEST_F(Photograph, FourQuarterTurnsAreOneFace) {
  Engine engine;
  const double w = upright_->width() - 1, h = upright_->height() - 1;
  const vips::VImage turned[] = {*upright_, upright_->rot90(), upright_->rot180(), upright_->rot270()};
  const std::array<double, 8> corners[] = {Moved(1, 0, 0, 0, 1, 0), Moved(0, -1, h, 1, 0, 0), Moved(-1, 0, w, 0, -1, h),
                                           Moved(0, 1, 0, -1, 0, w)};
  const Description upright = engine.Align(Read(*upright_), *reference_);
  for (int turn = 0; turn < 4; ++turn) {
    const Grey image = Read(turned[turn]);
    const FaceEntry face = ExpectOne(&engine, image, corners[turn], 0.02);
    EXPECT_NEAR(face.tag, reference_->tag, 50);
    const Description d = engine.Align(image, face);
    EXPECT_EQ(d.info[0], turn);
    EXPECT_NEAR(d.leftEye, upright.leftEye, 12);
    // The eyes stand side by side in the face's own frame, left one first.
    const double angle = std::atan2(d.keyPoints[3] - d.keyPoints[1], d.keyPoints[2] - d.keyPoints[0]);
    EXPECT_NEAR(std::remainder(angle * 180 / M_PI - 90 * turn - reference_->tag / 100.0, 360), 0, 4) << turn;
  }
}

TEST_F(Photograph, FoundAtEverySize) {
  Engine engine;
  for (const double side : {40.0, 70.0, 400.0, 1500.0}) {
    const double scale = side / Side(*reference_);
    const Grey image = Read(upright_->resize(scale));
    const FaceEntry face = ExpectOne(&engine, image, Moved(scale, 0, 0, 0, scale, 0), 0.06);
    const Description d = engine.Align(image, face);
    EXPECT_GE(d.presence, 900) << side;
    EXPECT_GE(d.leftEye, 100) << side;
  }
}

TEST_F(Photograph, FoundWhenPartlyOutside) {
  Engine engine;
  const double cut = 0.2 * Side(*reference_);
  const auto* c = reference_->corners;
  const int left = static_cast<int>(c[0] + cut), top = static_cast<int>(c[1] + cut);
  const int right = static_cast<int>(c[6] - cut), bottom = static_cast<int>(c[7] - cut);
  const int w = upright_->width(), h = upright_->height();
  const struct {
    int x, y, width, height;
  } parts[] = {{left, 0, w - left, h}, {0, top, w, h - top}, {0, 0, right, h}, {0, 0, w, bottom}};
  const Description whole = engine.Align(Read(*upright_), *reference_);
  for (const auto& part : parts) {
    const Grey image = Read(upright_->extract_area(part.x, part.y, part.width, part.height));
    const FaceEntry face = ExpectOne(&engine, image, Moved(1, 0, -part.x, 0, 1, -part.y), 0.12);
    const Description d = engine.Align(image, face);
    for (size_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(d.keyPoints[i] + (i % 2 == 0 ? part.x : part.y), whole.keyPoints[i], 0.06 * Side(*reference_));
    }
  }
}

// Faces of different quarter turns in one picture, each at its place and in its turn.
TEST_F(Photograph, EveryFaceHasItsOwnTurn) {
  Engine engine;
  const vips::VImage turned[] = {*upright_, upright_->rot90(), upright_->rot180(), upright_->rot270()};
  const struct {
    std::vector<vips::VImage> images;
    std::vector<int> turns;
    int across;
  } cases[] = {{{turned[0], turned[1]}, {0, 1}, 2},
               {{turned[0], turned[2]}, {0, 2}, 1},
               {{turned[3], turned[0]}, {3, 0}, 1},
               {{turned[0], turned[1], turned[2], turned[3]}, {0, 1, 2, 3}, 2}};
  for (const auto& c : cases) {
    const Grey image =
        Read(vips::VImage::arrayjoin(c.images, vips::VImage::option()->set("across", c.across)->set("shim", 0)));
    const std::vector<FaceEntry> faces = engine.Detect(image);
    EXPECT_EQ(faces.size(), c.turns.size());
    for (size_t i = 0; i < c.turns.size(); ++i) {
      const int left = static_cast<int>(i) % c.across * upright_->width();
      const int top = static_cast<int>(i) / c.across * upright_->height();
      const auto is = [&](const FaceEntry& face) {
        const int x = (face.corners[0] + face.corners[6]) / 2 - left, y = (face.corners[1] + face.corners[7]) / 2 - top;
        return x >= 0 && x < upright_->width() && y >= 0 && y < upright_->height() &&
               engine.Align(image, face).info[0] == c.turns[i];
      };
      EXPECT_EQ(std::count_if(faces.begin(), faces.end(), is), 1) << c.images.size() << " images, turn " << c.turns[i];
    }
    for (size_t i = 1; i < faces.size(); ++i) EXPECT_GE(faces[i - 1].unread, faces[i].unread) << "best first";
  }
}

TEST_F(Photograph, SettingsNarrowWhatIsFound) {
  Engine engine;
  const Grey upright = Read(*upright_), turned = Read(upright_->rot90());
  SetDetectThreshold(engine.detector, reference_->unread + 20);
  EXPECT_TRUE(engine.Detect(upright).empty());
  SetDetectThreshold(engine.detector, 550);
  const int side = static_cast<int>(Side(*reference_));
  SetDetectMinFace(engine.detector, side + 20);
  EXPECT_TRUE(engine.Detect(upright).empty());
  SetDetectMinFace(engine.detector, 25);
  SetDetectSizeRange(engine.detector, 2 * side, 4 * side);
  EXPECT_EQ(engine.Detect(upright).size(), 1U);
  SetDetectSizeRange(engine.detector, 10, side - 20);
  EXPECT_TRUE(engine.Detect(upright).empty());
  SetDetectSizeRange(engine.detector, 80, 512);
  SetDetectFlagA(engine.detector, 0);
  const auto faces = engine.Detect(turned);
  EXPECT_TRUE(faces.empty() || faces[0].unread < reference_->unread);
}

}  // namespace
}  // namespace qx::face
