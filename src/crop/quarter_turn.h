#ifndef QX_CROP_QUARTER_TURN_H
#define QX_CROP_QUARTER_TURN_H

namespace qx {

// A turn by a multiple of 90 degrees: cosine and sine, each 0, 1 or -1.
struct QuarterTurn {
  double cos;
  double sin;
};

// The quarter turn nearest to an angle in radians, -pi to pi.
QuarterTurn NearestQuarterTurn(double angle);

}  // namespace qx

#endif  // QX_CROP_QUARTER_TURN_H
