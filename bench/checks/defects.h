// Defects that are made from a portrait, and what the measures should say of them.
#ifndef QX_BENCH_CHECKS_DEFECTS_H
#define QX_BENCH_CHECKS_DEFECTS_H

#include <functional>
#include <string>
#include <vector>

#include "bench/checks/portrait.h"
#include "photo/base/image.h"
#include "photo/check/measure.h"

namespace qx::bench::checks {

enum class Expected {
  kPass,    // within the limit: nobody should be sent home for it
  kEither,  // about the limit
  kReport,  // beyond it: failed, or a remark where the measure never fails
  kUnseen,  // a known blind spot, whatever it says
};

struct Defect {
  std::string name, strength;
  std::vector<photo::MeasureId> own;  // of which one at least should report it
  Expected expected;
  std::function<photo::Image(const Portrait&)> make;
  bool isOfWall = false;  // made from the portrait before a plain wall, whose own may have every defect
};

// Blur, too few pixels, compression.
std::vector<Defect> CameraDefects();
// Too dark, too bright, from one side, of a colour; no colour at all.
std::vector<Defect> LightDefects();
// Eyes, glasses, mouth, what covers the face.
std::vector<Defect> FaceDefects();
// A head that leans or is turned, eyes that look aside, a smile.
std::vector<Defect> PoseDefects();
// Wall, shadow, edges of the picture, others in it.
std::vector<Defect> SurroundingsDefects();

std::vector<Defect> AllDefects();

photo::Image BeforePlainWall(const Portrait& portrait);

}  // namespace qx::bench::checks

#endif  // QX_BENCH_CHECKS_DEFECTS_H
