// Where a face is no skin: by its points, and by what a retouching would take away from it.
#ifndef QX_PHOTO_RENDER_FEATURE_WEIGHTS_H
#define QX_PHOTO_RENDER_FEATURE_WEIGHTS_H

#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/raster.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

// The pixels of a box, `step` x `step` of them to a cell; cells at the right and lower rim may hold fewer.
struct CellGrid {
  PixelBox box;
  int step = 1;

  int Width() const { return (box.Width() + step - 1) / step; }
  int Height() const { return (box.Height() + step - 1) / step; }
};

// Pixels between the middles of the eyes, the measure of all that is done to a face.
double EyeDistance(const ProbedFace& face);

// Cells in levels, one channel each.
struct CellMeans {
  Raster level;   // of the photograph before the retouching
  Raster change;  // of the absolute differences that the retouching made
};

struct FeatureWeights {
  Raster weights;         // a cell: 1 where the photograph is to stay, 0 on skin, with soft borders
  float skinTexture = 0;  // mean absolute change of the face's own skin, in levels
};

// strength: by which a change on skin grows, 1 for that of a full retouching.
//
// Lips, eyes with lashes, brows, and nostrils with the wings of the nose are drawn from the face's points. Beard, hair,
// folds of cloth and the like are where most cells around one lose much more than the face's skin does: the median over
// a window passes over spots, whose cells are few (J. Tukey, "Exploratory Data Analysis", 1977). Thin things such as
// the rims of spectacles are cells that differ much from their window's median level and hang together over a longer
// way than any spot.
FeatureWeights FindFeatures(const ProbedFace& face, const CellGrid& grid, const CellMeans& means, double strength);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_FEATURE_WEIGHTS_H
