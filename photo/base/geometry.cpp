#include "photo/base/geometry.h"

#include <cmath>

#include "base/exact_math.h"

namespace qx::photo {

double Distance(PlacePoint a, PlacePoint b) {
  const double x = a.x - b.x, y = a.y - b.y;
  return std::sqrt(x * x + y * y);
}

PlacePoint Middle(PlacePoint a, PlacePoint b) {
  return {(a.x + b.x) / 2, (a.y + b.y) / 2};
}

Turn::Turn(double degrees, PlacePoint centre)
    : cos_(exact::Cos(degrees * (3.14159265358979323846 / 180))),
      sin_(exact::Sin(degrees * (3.14159265358979323846 / 180))),
      centre_(centre) {}

PlacePoint Turn::operator()(PlacePoint p) const {
  const double x = p.x - centre_.x, y = p.y - centre_.y;
  return {centre_.x + cos_ * x - sin_ * y, centre_.y + sin_ * x + cos_ * y};
}

PlacePoint Turn::Back(PlacePoint p) const {
  const double x = p.x - centre_.x, y = p.y - centre_.y;
  return {centre_.x + cos_ * x + sin_ * y, centre_.y - sin_ * x + cos_ * y};
}

}  // namespace qx::photo
