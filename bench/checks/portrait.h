// A photograph of one person as the defects need it, and what the measures say of any picture.
#ifndef QX_BENCH_CHECKS_PORTRAIT_H
#define QX_BENCH_CHECKS_PORTRAIT_H

#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/check/measure.h"
#include "photo/face/face_finder.h"
#include "photo/person/mask.h"

namespace qx::bench::checks {

// The eyes' distance to which portraits are brought, in pixels; smaller ones stay as they are.
inline constexpr double kEyeDistance = 120;

struct Portrait {
  std::string name;
  photo::Image picture;
  photo::FaceMesh mesh;  // in pixels of the picture, their edges being whole numbers
  photo::Mask person;
  double eyeDistance = 0, eyesToChin = 0;

  // A place of the face: sideways and downward from the middle of the eyes, in eye distances, along the face's own
  // axes.
  photo::PlacePoint At(double aside, double down) const;
  photo::PlacePoint EyeMiddle() const { return At(0, 0); }
};

// What `idphoto check` measures of a picture's largest face.
class Examiner {
 public:
  // Each of the photograph's faces that the measures can see whole, cut out with some surroundings; at most `most`.
  std::vector<Portrait> Portraits(const std::string& file, size_t most);
  // Everything found anew, the mask too; the document asks for a white background.
  std::vector<photo::Measure> Measure(const photo::Image& picture);
  // Processor time in milliseconds of one thread, the least of several runs.
  struct Times {
    double find = 0;     // detection and landmarks
    double measure = 0;  // all measures
  };
  Times Time(const Portrait& portrait);

 private:
  std::vector<photo::ProbedFace> Find(const photo::Image& picture);
  std::optional<photo::Mask> FindPerson(const photo::Image& picture, const std::vector<photo::ProbedFace>& faces);
  std::optional<Portrait> MakePortrait(const photo::Image& photograph, const photo::ProbedFace& face);

  photo::FaceFinder finder_;
  photo::PersonSegmenter segmenter_;
};

}  // namespace qx::bench::checks

#endif  // QX_BENCH_CHECKS_PORTRAIT_H
