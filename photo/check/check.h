// Whether a finished photograph is what its document asks for.
#ifndef QX_PHOTO_CHECK_CHECK_H
#define QX_PHOTO_CHECK_CHECK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photo/check/check_lines.h"
#include "photo/document/presets.h"
#include "photo/face/crop_engine.h"
#include "photo/face/face_finder.h"
#include "photo/person/mask.h"
#include "photo/place/person_geometry.h"

namespace qx::photo {

struct PhotoCheck {
  std::vector<CheckLine> lines;
  Document document;
  std::optional<ProbedFace> face;        // the largest; nothing when there is none
  std::optional<PersonGeometry> person;  // nothing for documents of two persons

  bool Passed() const { return AllPassed(lines); }
};

// One thread at a time.
class PhotoChecker {
 public:
  PhotoChecker();  // throws Failure when an engine cannot load

  // `photograph` is the file's picture, which is taken as the whole document. Throws Failure when the person cannot be
  // measured.
  PhotoCheck Check(const Image& photograph, const FileFacts& file, const Preset& preset);

 private:
  void MeasureOnePerson(const Image& photograph, const std::vector<ProbedFace>& faces, PhotoCheck* check);
  void AddScores(const Image& photograph, PhotoCheck* check);

  FaceProbe probe_;
  CropEngine engine_;
  PersonSegmenter segmenter_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_CHECK_H
