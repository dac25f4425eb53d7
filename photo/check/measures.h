// All measures of one face: the standard's 28 and what authorities ask beyond them.
#ifndef QX_PHOTO_CHECK_MEASURES_H
#define QX_PHOTO_CHECK_MEASURES_H

#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/check/check_lines.h"
#include "photo/check/measure.h"
#include "photo/document/presets.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

struct MeasureOptions {
  bool child = false;                    // under six: exempt from gaze, expression and pose
  std::vector<std::string> backgrounds;  // colours that the document takes, as style sheets write them; others are left
                                         // out
  std::optional<PresetRules> rules{};    // what the document asks of the person
  std::optional<double> leastHead{};     // that the document takes, in pixels
  std::optional<JpegQuality> jpegQuality{};  // of the file
  bool mustBeSmall = false;                  // the document limits the file's size from above
};

// What a document asks; `file`: as far as it is known.
MeasureOptions OptionsFor(const Preset& preset, const Document& document, const FileFacts& file, bool child);

// `faces`: of the photograph, the one to be measured first; may be none. `person`: its mask, of the photograph's size,
// or null where no person could be told from the background. Always all measures, in the order of MeasureId: what
// cannot be measured is not assessed and says why.
std::vector<Measure> MeasureFace(const Image& photograph, const std::vector<ProbedFace>& faces, const Mask* person,
                                 const MeasureOptions& options = {});

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_MEASURES_H
