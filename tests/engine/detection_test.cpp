#include "engine/detection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qx::face {
namespace {

Detection At(double score, double left, double top, double side, int turn = 0) {
  Detection d;
  d.score = score;
  d.box = {left, top, left + side, top + side};
  d.leftEye = {left, top};
  d.rightEye = {left + side, top};
  d.turn = turn;
  return d;
}

class Anchors : public ::testing::Test {
 protected:
  Anchors() : boxes_(kAnchors * kValuesPerAnchor, 0.0F), logits_(kAnchors, -1000.0F) {}

  void Set(int anchor, float logit, const std::vector<float>& values) {
    logits_[static_cast<size_t>(anchor)] = logit;
    std::copy(values.begin(), values.end(), boxes_.begin() + anchor * kValuesPerAnchor);
  }
  std::vector<Detection> Decode(double threshold) { return DecodeAnchors(boxes_.data(), logits_.data(), threshold); }

  std::vector<float> boxes_, logits_;
};

TEST_F(Anchors, DecodeRelativeToTheirCell) {
  // Anchor in column 10 and row 2: its centre stands at (42, 10) of 192.
  Set(2 * kAnchorSide + 10, 0, {6, -4, 48, 24, -9.6F, 19.2F, 9.6F, 0});
  Set(3, -0.1F, {0, 0, 48, 48});
  const auto found = Decode(0.5);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_DOUBLE_EQ(found[0].score, 0.5);
  EXPECT_NEAR(found[0].box.left * 192, 24, 1e-6);
  EXPECT_NEAR(found[0].box.top * 192, -6, 1e-6);
  EXPECT_NEAR(found[0].box.right * 192, 72, 1e-6);
  EXPECT_NEAR(found[0].box.bottom * 192, 18, 1e-6);
  EXPECT_NEAR(found[0].leftEye.x * 192, 32.4, 1e-5);
  EXPECT_NEAR(found[0].leftEye.y * 192, 29.2, 1e-5);
  EXPECT_NEAR(found[0].rightEye.x * 192, 51.6, 1e-5);
  EXPECT_EQ(Decode(0.47).size(), 2U);
  EXPECT_TRUE(Decode(0.51).empty());
}

TEST_F(Anchors, OddValuesAreNoFaces) {
  Set(0, 1000, {0, 0, -48, 48});
  Set(1, std::numeric_limits<float>::quiet_NaN(), {0, 0, 48, 48});
  Set(2, 5, {0, 0, std::numeric_limits<float>::quiet_NaN(), 48});
  EXPECT_TRUE(Decode(0.1).empty());
  Set(3, 1000, {0, 0, 48, 48});
  ASSERT_EQ(Decode(0.1).size(), 1U);
  EXPECT_DOUBLE_EQ(Decode(0.1)[0].score, 1 / (1 + std::exp(-100.0)));
}

TEST(Suppression, GroupBecomesItsWeightedMean) {
  // The second overlaps the best by 90 / 110 and the third by 20 / 180.
  const auto kept = SuppressWeighted({At(0.3, 1, 0, 10), At(0.9, 0, 0, 10), At(0.8, 8, 0, 10)}, 0.3);
  ASSERT_EQ(kept.size(), 2U);
  EXPECT_DOUBLE_EQ(kept[0].score, 0.9);
  EXPECT_NEAR(kept[0].box.left, 0.25, 1e-12);
  EXPECT_NEAR(kept[0].box.right, 10.25, 1e-12);
  EXPECT_NEAR(kept[0].rightEye.x, 10.25, 1e-12);
  EXPECT_NEAR(kept[0].box.top, 0, 1e-12);
  EXPECT_DOUBLE_EQ(kept[1].score, 0.8);
  EXPECT_DOUBLE_EQ(kept[1].box.left, 8);
}

TEST(Merging, KeepsTheBestTurnOfEachFace) {
  const auto kept = KeepBest({At(0.6, 0, 0, 10, 1), At(0.8, 1, 0, 10, 2), At(0.7, 40, 0, 10), At(0.75, 41, 1, 5)}, 0.3);
  ASSERT_EQ(kept.size(), 2U);
  EXPECT_EQ(kept[0].turn, 2);
  EXPECT_DOUBLE_EQ(kept[1].score, 0.75);  // mostly inside the other
}

TEST(Merging, EqualScoresHaveOneOrder) {
  const std::vector<Detection> faces = {At(0.7, 50, 0, 10), At(0.7, 0, 50, 10), At(0.7, 0, 0, 10),
                                        At(0.7, 0, 0, 10, 3)};
  const auto forward = KeepBest(faces, 0.3);
  const auto backward = KeepBest({faces.rbegin(), faces.rend()}, 0.3);
  ASSERT_EQ(forward.size(), 3U);
  ASSERT_EQ(backward.size(), 3U);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(forward[i].box.left, backward[i].box.left);
    EXPECT_EQ(forward[i].box.top, backward[i].box.top);
    EXPECT_EQ(forward[i].turn, backward[i].turn);
  }
  EXPECT_EQ(forward[0].box.left, 0);
  EXPECT_EQ(forward[0].turn, 0);
  EXPECT_EQ(forward[1].box.left, 50);
}

}  // namespace
}  // namespace qx::face
