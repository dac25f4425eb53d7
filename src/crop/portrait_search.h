// The heights and bottoms that a photograph of one face may have.
//
// A height is admissible when the head takes the wanted share of it. For one height, the bottoms that meet the bounds
// on the eyes, the space above the hair, the chin and the person's box are a run of consecutive rows. Wanted is the
// first height of a range, from below or from above, that is admissible and has a bottom. Heights may run into the
// hundreds of millions, so they are not walked: the range is halved, and a half that cannot hold such a height is
// left out as a whole. It is enough to be right about a single height, and to leave out nothing wrongly:
//
// - A bound that is a rounded share of the height, rnd(h * fraction), never falls as h grows, so over a range it lies
//   between its values at the two ends. Rounding without the upper limit of int32 keeps that so; where the limit
//   counts, the upper bound of the pair turns into the lowest integer, and nothing meets it.
// - The space above the hair bounds the bottom by h - rnd(h * fraction). That is monotonic in h while doubles near
//   h * fraction have one spacing, that is between two powers of two, and off by no more than one row otherwise.
// - Where the runs of single heights are empty though the bounds of the range overlap, the space above the hair and the
//   eyes exclude each other: the distance of the two bounds is linear in h but for two roundings, so that it too is
//   settled by the ends.
//
// What these rules leave over is halved on; the last height is looked at itself.
#ifndef QX_CROP_PORTRAIT_SEARCH_H
#define QX_CROP_PORTRAIT_SEARCH_H

#include <cstdint>
#include <optional>

#include "crop/mask_extents.h"
#include "face/face_record.h"
#include "qx_idp.h"

namespace qx {

class PortraitSearch {
 public:
  PortraitSearch(const FaceRecord& face, const FineCropParams& params, const MaskExtents& extents);

  // Rows that meet the bounds at a height: first is the lowest number. Empty when first > last.
  struct Run {
    int64_t first, last;
  };
  Run Bottoms(int64_t height) const;

  // The first admissible height from low up to high, or from high down to low, that has a bottom.
  std::optional<int64_t> FirstFromBelow(int64_t low, int64_t high) const;
  std::optional<int64_t> FirstFromAbove(int64_t low, int64_t high) const;

 private:
  // A pair of bounds as fractions of the photograph's height.
  struct Bounds {
    double min, max;
    bool InForce() const { return min > 0 && max > 0; }
  };

  bool Admissible(int64_t height) const;
  bool RuledOut(int64_t low, int64_t high) const;
  bool EmptyOver(int64_t low, int64_t high) const;
  bool BoundsPartOver(int64_t low, int64_t high) const;
  std::optional<Run> BottomsOver(int64_t low, int64_t high, double fraction) const;

  Bounds head_, top_, eye_;
  int64_t headTop_, headLength_, eyeY_;
  int64_t lowestBottom_, highestBottom_;
};

}  // namespace qx

#endif  // QX_CROP_PORTRAIT_SEARCH_H
