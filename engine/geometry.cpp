#include "engine/geometry.h"

#include <algorithm>
#include <cmath>

#include "base/exact_math.h"

namespace qx::face {
namespace {

constexpr double kPi = 3.14159265358979323846;

// One axis of a box that may have been cut: its low end, length and whether each end touches the image border.
struct Extent {
  double low;
  double length;
  bool atLow;
  bool atHigh;
};

Extent ExtentOf(const int32_t corners[8], int axis, int imageExtent) {
  const auto [low, high] = std::minmax({corners[axis], corners[2 + axis], corners[4 + axis], corners[6 + axis]});
  const double length = static_cast<double>(high) - static_cast<double>(low);
  return {static_cast<double>(low), length, low <= 0, high >= imageExtent - 1};
}

double CentreOfContinued(const Extent& extent, double side) {
  const double missing = side - extent.length;
  if (extent.atLow && !extent.atHigh) return extent.low - missing + side / 2;
  if (extent.atHigh && !extent.atLow) return extent.low + side / 2;
  return extent.low + extent.length / 2;
}

int TurnOfCorners(const int32_t corners[8]) {
  const auto at = [corners](int i) {
    return Point{static_cast<double>(corners[2 * i]), static_cast<double>(corners[2 * i + 1])};
  };
  const Point right = (at(1) - at(0)) + (at(3) - at(2));
  const Point down = (at(2) - at(0)) + (at(3) - at(1));
  // The down axis turned back by a quarter agrees with the right axis; together they survive a box cut to a line.
  const Point axis = right + Point{down.y, -down.x};
  return NearestTurn(exact::Atan2(axis.y, axis.x));
}

}  // namespace

Point operator+(Point a, Point b) {
  return {a.x + b.x, a.y + b.y};
}
Point operator-(Point a, Point b) {
  return {a.x - b.x, a.y - b.y};
}
Point operator*(double scale, Point a) {
  return {scale * a.x, scale * a.y};
}
Point Mean(Point a, Point b) {
  return 0.5 * (a + b);
}
double Distance(Point a, Point b) {
  const double x = a.x - b.x, y = a.y - b.y;
  return std::sqrt(x * x + y * y);
}

double Area(const Box& box) {
  return std::max(0.0, box.right - box.left) * std::max(0.0, box.bottom - box.top);
}

double Intersection(const Box& a, const Box& b) {
  return Area(
      {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)});
}

double IntersectionOverUnion(const Box& a, const Box& b) {
  const double both = Intersection(a, b);
  const double either = Area(a) + Area(b) - both;
  return either > 0 ? both / either : 0;
}

double IntersectionOverSmaller(const Box& a, const Box& b) {
  const double smaller = std::min(Area(a), Area(b));
  return smaller > 0 ? Intersection(a, b) / smaller : 0;
}

Point FromRegion(const Region& region, double u, double v) {
  const double c = exact::Cos(region.angle), s = exact::Sin(region.angle);
  const double x = (u - 0.5) * region.side, y = (v - 0.5) * region.side;
  return {region.centre.x + x * c - y * s, region.centre.y + x * s + y * c};
}

double TurnAngle(int turn) {
  return turn * (kPi / 2);
}

int NearestTurn(double angle) {
  return static_cast<int>(std::lround(std::remainder(angle, 2 * kPi) / (kPi / 2))) & 3;
}

double FineRoll(double angle, int turn) {
  return std::remainder(angle - TurnAngle(turn), 2 * kPi);
}

double Degrees(double radians) {
  return radians * (180 / kPi);
}
double Radians(double degrees) {
  return degrees * (kPi / 180);
}

std::array<int32_t, 8> CornersOf(Point centre, double side, int turn, int width, int height) {
  static constexpr int kRightX[4] = {1, 0, -1, 0};
  static constexpr int kRightY[4] = {0, 1, 0, -1};
  const double rx = kRightX[turn] * side / 2, ry = kRightY[turn] * side / 2;
  const double dx = -ry, dy = rx;
  const Point corners[4] = {{centre.x - rx - dx, centre.y - ry - dy},
                            {centre.x + rx - dx, centre.y + ry - dy},
                            {centre.x - rx + dx, centre.y - ry + dy},
                            {centre.x + rx + dx, centre.y + ry + dy}};
  std::array<int32_t, 8> result{};
  for (size_t i = 0; i < 4; ++i) {
    result[2 * i] = PixelOf(corners[i].x + 0.5, width);
    result[2 * i + 1] = PixelOf(corners[i].y + 0.5, height);
  }
  return result;
}

CornerFrame FrameOfCorners(const int32_t corners[8], int width, int height) {
  const Extent x = ExtentOf(corners, 0, width), y = ExtentOf(corners, 1, height);
  CornerFrame frame;
  frame.side = std::max({x.length, y.length, 1.0});
  frame.centre = {CentreOfContinued(x, frame.side), CentreOfContinued(y, frame.side)};
  frame.turn = TurnOfCorners(corners);
  return frame;
}

int32_t FloorTo(double value, double low, double high) {
  if (!(value >= low)) return static_cast<int32_t>(low);
  return static_cast<int32_t>(std::floor(std::min(value, high)));
}

int32_t PixelOf(double coordinate, int extent) {
  constexpr double kLimit = 2147483647.0;
  return FloorTo(coordinate, -static_cast<double>(extent), std::min(2.0 * extent, kLimit));
}

}  // namespace qx::face
