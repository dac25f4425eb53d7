// Points, boxes and frames of faces in a photograph.
//
// Coordinates are continuous pixels: x to the right, y down, and the pixel in column c and row r covers
// [c, c + 1) x [r, r + 1). Angles are radians from the x axis towards the y axis, so clockwise on the screen.
#ifndef QX_ENGINE_GEOMETRY_H
#define QX_ENGINE_GEOMETRY_H

#include <array>
#include <cstdint>

namespace qx::face {

struct Point {
  double x = 0;
  double y = 0;
};

Point operator+(Point a, Point b);
Point operator-(Point a, Point b);
Point operator*(double scale, Point a);
Point Mean(Point a, Point b);
double Distance(Point a, Point b);

struct Box {
  double left = 0;
  double top = 0;
  double right = 0;
  double bottom = 0;
};

double Area(const Box& box);
double Intersection(const Box& a, const Box& b);  // area
double IntersectionOverUnion(const Box& a, const Box& b);
double IntersectionOverSmaller(const Box& a, const Box& b);

// A square of the photograph, turned: `angle` is the direction of its own x axis.
struct Region {
  Point centre;
  double side = 0;
  double angle = 0;
};

// Point of the photograph at (u, v) of the region's own frame, both 0 to 1 inside it.
Point FromRegion(const Region& region, double u, double v);

// Whole quarter turns of a face: 0 upright, 1 turned clockwise (its top points right), 2 head down, 3
// counterclockwise.
double TurnAngle(int turn);
// The quarter turn nearest to an angle, and what is left of it, -pi/4 to pi/4.
int NearestTurn(double angle);
double FineRoll(double angle, int turn);

double Degrees(double radians);
double Radians(double degrees);

// Corners (x, y) of an upright square after `turn` quarter turns: top-left, top-right, bottom-left, bottom-right of
// the face's own frame, in pixels, each within one image size of the image.
std::array<int32_t, 8> CornersOf(Point centre, double side, int turn, int width, int height);

// What eight corners, clamped to the image or not, say of a face.
struct CornerFrame {
  Point centre;
  double side = 0;  // 1 or above
  int turn = 0;
};

// Recovers the square. A box whose sides differ was cut by the border it touches: it is continued over that border.
CornerFrame FrameOfCorners(const int32_t corners[8], int width, int height);

// Rounds towards negative infinity and keeps the result in [low, high]; NaN gives low.
int32_t FloorTo(double value, double low, double high);
// Pixel that holds a coordinate, at most one image extent outside of an image of that extent.
int32_t PixelOf(double coordinate, int extent);

}  // namespace qx::face

#endif  // QX_ENGINE_GEOMETRY_H
