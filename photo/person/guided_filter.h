// The guided filter: gives a map the edges of a colour picture.
//
// K. He, J. Sun, X. Tang, "Guided Image Filtering", ECCV 2010, with a colour guide; the linear coefficients can be made
// on a small picture and used on a large one (K. He, J. Sun, "Fast Guided Filter", 2015).
#ifndef QX_PHOTO_PERSON_GUIDED_FILTER_H
#define QX_PHOTO_PERSON_GUIDED_FILTER_H

#include <cstddef>
#include <memory>

#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::photo {

// Guide and map have one size and outlive the filter. Samples count from -128 to 127 here, for the guide and the map.
class GuidedFilter {
 public:
  static constexpr int kMostRadius = 15;
  static constexpr int kMostWidth = 256;  // of a box
  static constexpr int kPlanes = 4;

  // `radius`: windows have 2 * radius + 1 pixels a side, clipped at the picture's border; 1 to kMostRadius. `epsilon`:
  // variance of the guide, per channel and for samples 0 to 1, below which a window is taken as flat; above 0.
  GuidedFilter(const Image& guide, const Mask& map, int radius, double epsilon);
  ~GuidedFilter();

  // Fills the lines of a box within the picture of at most kMostWidth columns: for each row the planes a0, a1, a2 and b
  // of the box's width each, the next row `stride` values on. The filtered map is a0 g0 + a1 g1 + a2 g2 + b for a guide
  // (g0, g1, g2); each plane is the mean over the windows around the pixel of the line that fits map to guide best in a
  // window.
  void Lines(const PixelBox& box, float* lines, size_t stride);

 private:
  struct Rows;

  void AddInput(int y, bool add);
  void FitLines(int y);
  void AddLines(int y, bool add);
  void TakeMeans(int y, float* to);

  const Image& guide_;
  const Mask& map_;
  const int radius_;
  const float epsilon_;
  PixelBox box_;
  std::unique_ptr<Rows> rows_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_GUIDED_FILTER_H
