// Drawing with exactly known coverage: shapes, strands, soft shades, blur. Sums, products and roots alone, so that a
// drawing has the same bytes everywhere.
#ifndef QX_BENCH_HAIR_PAINT_H
#define QX_BENCH_HAIR_PAINT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace qx::bench::hair {

struct Place {
  float x, y;
};
inline Place operator+(Place a, Place b) {
  return {a.x + b.x, a.y + b.y};
}
inline Place operator-(Place a, Place b) {
  return {a.x - b.x, a.y - b.y};
}
inline Place operator*(Place a, float k) {
  return {a.x * k, a.y * k};
}
using Line = std::vector<Place>;

// In levels, 0 to 255.
struct Colour {
  float b, g, r;
};
inline Colour operator*(Colour a, float k) {
  return {a.b * k, a.g * k, a.r * k};
}
Colour Mix(Colour a, Colour b, float share);  // share of b

// Sine of an angle in whole turns; exp for numbers of at most 0. Good to about 1e-6.
float SineTurn(float turns);
inline float CosineTurn(float turns) {
  return SineTurn(turns + 0.25f);
}
float ExpNegative(float x);
inline float Bell(float x) {
  return ExpNegative(-0.5f * x * x);
}
float Smooth(float from, float to, float x);  // 0 to 1, Hermite

// Smooth noise from -1 to 1 with about one bump per unit.
float Noise(float x, float y, uint32_t seed);
// Four octaves of it.
float Turbulence(float x, float y, uint32_t seed);

// Planes of a width x height picture side by side.
struct Plane {
  Plane() = default;
  Plane(int w, int h, int c)
      : width(w),
        height(h),
        channels(c),
        values(static_cast<size_t>(w) * static_cast<size_t>(h) * static_cast<size_t>(c)) {}
  float* At(int x, int y) {
    return values.data() + (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) *
                               static_cast<size_t>(channels);
  }
  const float* At(int x, int y) const { return const_cast<Plane*>(this)->At(x, y); }
  size_t Pixels() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }

  int width = 0, height = 0, channels = 0;
  std::vector<float> values;
};

// A Gaussian of the given sigma in pixels; the border goes on. Above 4 pixels as three boxes.
void Blur(Plane& plane, float sigma);

// What a layer holds of a pixel: colours times alpha, alpha, and the part of alpha that is hair.
enum Channel { kBlue, kGreen, kRed, kAlpha, kHair, kLayerChannels };
enum class Stuff { kBody, kHair };

using Paint = std::function<Colour(float x, float y)>;

void PutOver(float* pixel, Colour colour, float coverage, Stuff stuff);

// A closed smooth line through the points (Catmull-Rom).
Line Closed(const Line& points);
// The same between the first and the last point.
Line Open(const Line& points);

// Fills a polygon (even-odd): 8 lines a pixel, exact along each.
void FillShape(Plane& layer, const Line& outline, Stuff stuff, const Paint& paint);

// Multiplies the colours that are there by 1 + strength * a bell around a place, per channel; alpha stays.
void Shade(Plane& layer, Place centre, float sigmaX, float sigmaY, Colour strength);

// One strand after the other; each covers a pixel once, however its line bends.
class StrandPainter {
 public:
  explicit StrandPainter(Plane& layer) : layer_(layer), coverage_(layer.Pixels()), along_(layer.Pixels()) {}
  // Widths in pixels at the root and at the tip. `colour` has the part of the way from root to tip.
  void Draw(const Line& line, float rootWidth, float tipWidth, float opacity, Stuff stuff,
            const std::function<Colour(float along)>& colour);

 private:
  void Cover(Place from, Place to, float width, float along, float alongStep);

  Plane& layer_;
  std::vector<float> coverage_, along_;
  std::vector<size_t> touched_;
};

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_PAINT_H
