#include "photo/render/retouch.h"

#include <algorithm>
#include <string>

#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::photo {
namespace {

struct Named {
  std::string_view name;
  Retouch retouch;
};

// Chosen by eye on portraits: from a skin of 2 on it looks made up, and smoothing begins to show at the hair.
constexpr Named kNamed[] = {
    {"light", {0, 0, 1, 0.7, false, 0}},
    {"natural", {0.5, 0, 2, 1.2, true, 1}},
    {"strong", {1.5, 0, 3, 2, true, 3}},
};

}  // namespace

Retouch NamedRetouch(std::string_view name) {
  for (const Named& named : kNamed) {
    if (named.name == name) return named.retouch;
  }
  throw Failure(FailureCode::kBadOption,
                "\"" + Printable(name) + "\" is no kind of retouching; it is light, natural or strong");
}

void RetouchFaces(CropEngine& engine, CropResult& crops, const std::vector<int32_t>& faces, const Retouch& retouch,
                  Image* photograph, Mask* mask) {
  // With a mask the outline is left for a second step, which moves the mask along.
  BeautyParams params{{retouch.eyes, retouch.eyes, retouch.mouth, 0, retouch.skin, retouch.detail ? 1.0 : 0.0,
                       mask ? 0 : retouch.face}};
  for (size_t i = 0; i < faces.size(); ++i) {
    // The tone is that of the whole photograph, so it is set once.
    params.p[3] = i + 1 == faces.size() ? retouch.tone : 0;
    engine.RetouchFace(crops, faces[i], params, photograph);
  }
  if (mask == nullptr || retouch.face == 0) return;
  const BeautyParams outline{{0, 0, 0, 0, 0, 0, retouch.face}};
  for (const int32_t face : faces) engine.RetouchPerson(crops, face, outline, photograph, mask);
}

Image SideBySide(const Image& before, const Image& after) {
  const int32_t gap = std::max(before.width / 50, 4);
  Image both;
  both.width = 2 * before.width + gap;
  both.height = before.height;
  const auto row = static_cast<ptrdiff_t>(before.width) * 3;
  both.bgr.reserve(static_cast<size_t>(both.width) * static_cast<size_t>(both.height) * 3);
  for (int32_t y = 0; y < before.height; ++y) {
    both.bgr.insert(both.bgr.end(), before.bgr.begin() + y * row, before.bgr.begin() + (y + 1) * row);
    both.bgr.insert(both.bgr.end(), static_cast<size_t>(gap) * 3, 255);
    both.bgr.insert(both.bgr.end(), after.bgr.begin() + y * row, after.bgr.begin() + (y + 1) * row);
  }
  return both;
}

}  // namespace qx::photo
