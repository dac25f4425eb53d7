// Whether a finished photograph is what its document asks for.
#ifndef QX_PHOTO_CHECK_CHECK_H
#define QX_PHOTO_CHECK_CHECK_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/check/check_lines.h"
#include "photo/check/measure.h"
#include "photo/document/presets.h"
#include "photo/face/face_finder.h"
#include "photo/place/person_geometry.h"

namespace qx::photo {

// How many things came out how. Lines without limits are left out.
struct CheckCounts {
  size_t passed = 0, failed = 0, remarks = 0, notAssessed = 0;
};

struct PhotoCheck {
  std::vector<CheckLine> lines;   // in the order in which people should read them
  std::vector<Measure> measures;  // of the face, see MeasureFace; of two persons first all of the left one's
  Document document;              // what the preset asks for, in numbers
  FileFacts file;
  std::optional<ProbedFace> face;        // the largest, in pixels of the photograph; nothing when there is none
  std::optional<PersonGeometry> person;  // nothing for documents of two persons and for a head that lies

  // No line and no measure failed. What is not assessed and what is only remarked on fails nothing.
  bool Passed() const { return Counts().failed == 0; }
  CheckCounts Counts() const;
};

class FaceFinder;
class PersonSegmenter;

// What Studio::Check does. `photograph` is the file's picture, which is taken as the whole document; its largest face
// is the one that is measured and scored, in a document of two persons the two largest are measured. `child`: of a
// person under six, who is exempt from gaze, expression and pose. Throws Failure when the person cannot be measured.
PhotoCheck CheckPhoto(FaceFinder& finder, PersonSegmenter& segmenter, const Image& photograph, const FileFacts& file,
                      const Preset& preset, bool child = false);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_CHECK_H
