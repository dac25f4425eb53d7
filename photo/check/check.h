// Whether a finished photograph is what its document asks for.
#ifndef QX_PHOTO_CHECK_CHECK_H
#define QX_PHOTO_CHECK_CHECK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/document/presets.h"
#include "photo/face/face_finder.h"
#include "photo/place/person_geometry.h"

namespace qx::photo {

// What a picture's file says beside its pixels.
struct FileFacts {
  std::optional<PrintResolution> resolution;
  int64_t bytes = 0;
};

// One thing that was measured.
struct CheckLine {
  std::string name;  // such as "head"
  std::string unit;  // "mm", "px", "dpi", "kB"; empty for scores and counts
  double value = 0;
  std::optional<double> min, max;  // limits; none: only shown
  double tolerance = 0;            // by which a limit may be missed, for what measuring is worth

  bool Passed() const { return value >= min.value_or(value) - tolerance && value <= max.value_or(value) + tolerance; }
};

struct PhotoCheck {
  std::vector<CheckLine> lines;
  Document document;
  std::optional<ProbedFace> face;        // the largest; nothing when there is none
  std::optional<PersonGeometry> person;  // nothing for documents of two persons

  bool Passed() const;
};

// Lowest scores of the library's quality check that pass: a head that leans by 5 degrees (ICAO's limit), a face of mean
// grey 54 (evenly lit dark skin is brighter), one half of the face 56 grey levels off the other, and a plain background
// of the clothes' own colour.
inline constexpr int32_t kLeastTilt = 71, kLeastBrightness = 40, kLeastSymmetry = 60, kLeastBackground = 50;

class FaceFinder;
class PersonSegmenter;

// `photograph` is the file's picture, which is taken as the whole document; its largest face is the one that is
// measured and scored. Throws Failure when the person cannot be measured.
PhotoCheck CheckPhoto(FaceFinder& finder, PersonSegmenter& segmenter, const Image& photograph, const FileFacts& file,
                      const Preset& preset);

// A copy of the photograph with the top of the hair, the eyes, the chin and the face's sides as lines: green where the
// bound is met, red where not, blue where there is none. Bands at the sides show the rows that the bounds allow (for
// the chin below the hair as it is).
Image DrawCheck(const Image& photograph, const PhotoCheck& check);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_CHECK_H
