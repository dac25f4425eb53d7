// Whether a finished photograph is what its document asks for.
#ifndef QX_PHOTO_CHECK_CHECK_H
#define QX_PHOTO_CHECK_CHECK_H

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

struct PhotoCheck {
  std::vector<CheckLine> lines;          // in the order in which people should read them
  std::vector<Measure> measures;         // of the face, see MeasureFace; empty for documents of two persons
  Document document;                     // what the preset asks for, in numbers
  std::optional<ProbedFace> face;        // the largest, in pixels of the photograph; nothing when there is none
  std::optional<PersonGeometry> person;  // nothing for documents of two persons and for a head that lies

  bool Passed() const { return AllPassed(lines); }
};

class FaceFinder;
class PersonSegmenter;

// What Studio::Check does. `photograph` is the file's picture, which is taken as the whole document; its largest face
// is the one that is measured and scored. `child`: of a person under six, who is exempt from gaze, expression and pose.
// Throws Failure when the person cannot be measured.
PhotoCheck CheckPhoto(FaceFinder& finder, PersonSegmenter& segmenter, const Image& photograph, const FileFacts& file,
                      const Preset& preset, bool child = false);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_CHECK_H
