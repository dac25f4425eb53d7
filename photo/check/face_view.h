// What all measures of one face look at, and the six families of them.
#ifndef QX_PHOTO_CHECK_FACE_VIEW_H
#define QX_PHOTO_CHECK_FACE_VIEW_H

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/check/aligned_face.h"
#include "photo/check/measure.h"
#include "photo/check/measures.h"
#include "photo/face/face_finder.h"
#include "photo/face/head_pose.h"

namespace qx::photo {

struct FaceView {
  int32_t width, height;  // of the photograph
  const FaceMesh& mesh;   // in pixels of the photograph
  const MeasureOptions& options;
  const AlignedFace& aligned;
  std::optional<HeadPose> pose;  // nothing where the engine tells no depth
};

// Each sets its own measures and leaves the others.
void MeasurePoseAndGaze(const FaceView& view, MeasureList* list);
void MeasureEyesAndMouth(const FaceView& view, MeasureList* list);
void MeasureExposureAndColour(const FaceView& view, MeasureList* list);
void MeasureSharpness(const FaceView& view, MeasureList* list);
void MeasureBackground(const FaceView& view, MeasureList* list);
void MeasureGeometry(const FaceView& view, MeasureList* list);

// Has the families set their measures, or, where the face's points are not to be believed, the list say why not.
// Width and height: of the photograph. `align`: asked once at most, for a face that has a mesh; null when it is too
// small.
using Family = void (*)(const FaceView&, MeasureList*);
void MeasureAligned(int32_t width, int32_t height, const ProbedFace& face,
                    const std::function<const AlignedFace*()>& align, const MeasureOptions& options,
                    const std::vector<Family>& families, MeasureList* list);

// The measures that need no mesh.
void MeasureFaceCount(const std::vector<ProbedFace>& faces, MeasureList* list);
void MeasureCompression(const Image& photograph, const std::vector<ProbedFace>& faces, MeasureList* list);

// Whether both eyes are open enough for what is inside of the lids to be looked at.
bool EyesAreOpen(const FaceMesh& mesh);
// Whether the photograph shows them: beyond its edges the mesh goes on as it likes.
bool ArePointsInside(const FaceView& view, std::initializer_list<int> points);

// ---- Samples of the aligned face ----

// Linear between the sorted values; NaN where there are none. share: 0 to 1.
double Percentile(std::vector<double> values, double share);

// How often each value of a byte was seen.
class ByteCounts {
 public:
  void Add(uint8_t value) { ++counts_[value]; }
  double Percentile(double share) const;  // as above

 private:
  std::array<int32_t, 256> counts_{};
};

// The square of that side around a place, cut to the aligned picture.
PixelBox SquareAround(PlacePoint centre, double side);

// Calls use(x, y) for the pixels of the box that belong to the region, both of the aligned picture's size.
template <typename Use>
void ForEachPixel(const PixelBox& box, const Region& region, Use use) {
  for (int32_t y = box.top; y < box.bottom; ++y) {
    const uint8_t* row = region.Row(y);
    for (int32_t x = box.left; x < box.right; ++x) {
      if (row[x] != 0) use(x, y);
    }
  }
}
inline constexpr PixelBox kAllAligned{0, 0, kAlignedSide, kAlignedSide};

// Blue, green, red: the median of each over the photograph's pixels of some boxes. Nothing without a pixel.
std::optional<std::array<double, 3>> MedianColour(const AlignedFace& face, const std::vector<PixelBox>& boxes,
                                                  const Region& region);
// The squares of the cheeks, the left one first.
std::array<PixelBox, 2> Cheeks(const AlignedFace& face);

// A plane blurred by a normal distribution of that many pixels; what lies outside of it counts as its border.
Floats Blur(const Floats& plane, int32_t width, int32_t height, double sigma);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_FACE_VIEW_H
