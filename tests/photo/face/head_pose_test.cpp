#include "photo/face/head_pose.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "photo/face/face_mesh.h"

namespace qx::photo {
namespace {

constexpr int kIndices[] = QX_FACE_DEPTH_INDICES;

SpacePoint Turned(SpacePoint p, double yaw, double pitch, double roll) {
  const auto turn = [](double degrees, double* a, double* b) {  // a towards b
    const double t = degrees * 3.14159265358979323846 / 180, x = *a;
    *a = std::cos(t) * x - std::sin(t) * *b;
    *b = std::sin(t) * x + std::cos(t) * *b;
  };
  turn(roll, &p.x, &p.y);
  turn(pitch, &p.y, &p.z);
  turn(yaw, &p.z, &p.x);
  return p;
}

// The canonical face, turned and 20 pixels a centimetre, at (500, 400), with a mouth whose ends stand `lift` above its
// middle.
FaceMesh Head(double yaw, double pitch, double roll, double lift = 0) {
  FaceMesh mesh;
  mesh.hasDepth = true;
  const SpacePoint mouth[] = {{-2.5, -4 + lift, 4.3}, {2.5, -4 + lift, 4.3}, {0, -3, 6}, {0, -5, 5.5}};
  for (size_t i = 0; i < QX_FACE_DEPTH_POINTS; ++i) {
    const SpacePoint place = i < kFittedPoints ? CanonicalPlace(i) : mouth[i - kFittedPoints];
    const SpacePoint p = Turned(place, yaw, pitch, roll);
    mesh.points[static_cast<size_t>(kIndices[i])] = {500 + 20 * p.x, 400 - 20 * p.y};
    mesh.depth[i] = 77 - 20 * p.z;
  }
  return mesh;
}

TEST(HeadPose, FindsEveryTurn) {
  for (const double yaw : {-40.0, 0.0, 5.0, 60.0}) {
    for (const double pitch : {-30.0, 0.0, 12.0}) {
      for (const double roll : {-120.0, -9.0, 0.0, 30.0}) {
        const auto pose = FindHeadPose(Head(yaw, pitch, roll, 0.4));
        ASSERT_TRUE(pose);
        EXPECT_NEAR(yaw, pose->yaw, 1e-6);
        EXPECT_NEAR(pitch, pose->pitch, 1e-6);
        EXPECT_NEAR(roll, pose->roll, 1e-6);
        EXPECT_NEAR(0.4, (pose->mouth[0].y + pose->mouth[1].y - pose->mouth[2].y - pose->mouth[3].y) / 2, 1e-6);
      }
    }
  }
}

TEST(HeadPose, SignsAreThePersons) {
  // The nose tip (4) against the temples (127, 356): right in the picture is the person's left; down; the forehead (10)
  // leans left in the picture, to the person's right shoulder.
  const FaceMesh aside = Head(20, 0, 0), down = Head(0, 20, 0), leaning = Head(0, 0, 20);
  EXPECT_GT(aside[4].x, (aside[127].x + aside[356].x) / 2 + 20);
  EXPECT_GT(down[4].y - Head(0, 0, 0)[4].y, 20);
  EXPECT_LT(leaning[10].x, leaning[4].x - 20);
}

TEST(HeadPose, NeedsDepthAndSize) {
  FaceMesh mesh = Head(0, 0, 0);
  mesh.hasDepth = false;
  EXPECT_FALSE(FindHeadPose(mesh));
  FaceMesh point;
  point.hasDepth = true;
  EXPECT_FALSE(FindHeadPose(point));
}

// A block as the engine writes it: number i of the mesh, the depths and the irises is i.
std::vector<int32_t> Block() {
  std::vector<int32_t> block(QX_FACE_BLOCK_INTS);
  for (size_t i = 0; i < block.size(); ++i) {
    const auto value = static_cast<float>(i);
    std::memcpy(&block[i], &value, sizeof value);
  }
  block[0] = QX_FACE_BLOCK_MARK;
  block[QX_FACE_BLOCK_DEPTHS] = QX_FACE_DEPTH_MARK;
  return block;
}

TEST(FaceMesh, ReadsTheEnginesBlock) {
  const auto mesh = ReadMesh(Block().data());
  ASSERT_TRUE(mesh && mesh->hasDepth);
  EXPECT_EQ(935, (*mesh)[467].x);
  EXPECT_EQ(938, mesh->depth[0]);
  EXPECT_EQ(975, mesh->irises[0][0].x);
  EXPECT_EQ(994, mesh->irises[1][4].y);
  // Other engines.
  std::vector<int32_t> block = Block();
  block[QX_FACE_BLOCK_DEPTHS] = 0;
  EXPECT_TRUE(ReadMesh(block.data()) && !ReadMesh(block.data())->hasDepth);
  block[0] = 0;
  EXPECT_FALSE(ReadMesh(block.data()));
  // Numbers that are none.
  const float nan = std::numeric_limits<float>::quiet_NaN();
  block = Block();
  std::memcpy(&block[940], &nan, sizeof nan);
  EXPECT_TRUE(ReadMesh(block.data()) && !ReadMesh(block.data())->hasDepth);
  block = Block();
  std::memcpy(&block[400], &nan, sizeof nan);
  EXPECT_FALSE(ReadMesh(block.data()));
}

TEST(FaceMesh, MovesAndTurnsWithThePicture) {
  const FaceMesh mesh = *ReadMesh(Block().data());
  const FaceMesh moved = mesh.Moved(100, 10, 2, 2), turned = mesh.Turned(2000, 1000, 1);
  EXPECT_EQ(2 * (935 - 100), moved[467].x);
  EXPECT_EQ(2 * (936 - 10), moved[467].y);
  EXPECT_EQ(2 * 938, moved.depth[0]);
  EXPECT_EQ(2 * (994 - 10), moved.irises[1][4].y);
  EXPECT_EQ(1000 - 936, turned[467].x);
  EXPECT_EQ(935, turned[467].y);
  const FaceMesh back = turned.Turned(1000, 2000, 3);
  EXPECT_TRUE(back[467].x == 935 && back[467].y == 936 && back.irises[0][0].x == 975);
}

}  // namespace
}  // namespace qx::photo
