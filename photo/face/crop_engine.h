// The library's C interface with owners and exceptions.
#ifndef QX_PHOTO_FACE_CROP_ENGINE_H
#define QX_PHOTO_FACE_CROP_ENGINE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/failure.h"
#include "photo/base/image.h"
#include "qx_idp.h"

namespace qx::photo {

// What went wrong, by the library's status code.
Failure StatusFailure(int32_t status);

inline constexpr int32_t kLowestBound = 600;

struct CropSettings {
  double ratio = 2.0 / 3;    // 0 (close) to 1 (wide)
  int32_t bound = 800;       // largest width of a crop in pixels, kLowestBound or above
  bool sourceScale = false;  // keep the photograph's scale; the bound is then not applied
};

// A pixel of the photograph; may lie outside.
struct CropOrigin {
  int32_t left, top;
};

// What a crop run found in one photograph. Independent of the engine that made it.
class CropResult {
 public:
  int32_t FaceCount() const;
  // The rough crop of a face, counted from 0; white outside the photograph. Throws Failure when it is empty or did
  // not fit into memory.
  Image Crop(int32_t face) const;

  // For runs at source scale whose crop is not turned: where the crop's upper left pixel lies in the photograph.
  // Replaces the person of SetPerson. Throws Failure when the face has no crop.
  CropOrigin FindOrigin(int32_t face, const Image& photograph);
  // For runs at source scale: the person mask, one byte a pixel of the photograph, and the person's colours. Throws
  // Failure when the face has no crop.
  void SetPerson(int32_t face, const Mask& mask, const Image& colour);
  // The rectangle of the crop that meets the bounds; nothing when there is none. Throws Failure without SetPerson.
  std::optional<CropRect> FineCrop(int32_t face, const FineCropParams& params) const;

 private:
  friend class CropEngine;
  CropResult();
  struct Delete {
    void operator()(IDPResult* result) const { QX_IDP_DeleteIDPResult(result); }
  };
  std::unique_ptr<IDPResult, Delete> result_;
};

// Finds and crops faces, one photograph at a time. Costly to make: keep one for many photographs.
class CropEngine {
 public:
  CropEngine();  // throws Failure when the face engine cannot load
  // Throws Failure when a setting is out of its range.
  void Configure(const CropSettings& settings);
  // One crop for each face. Throws Failure when there is no face.
  CropResult CropFaces(const Image& photograph);
  // Throws Failure when the face has no crop.
  QualityScores Quality(const CropResult& result, int32_t face);

 private:
  struct Delete {
    void operator()(IdpHandle* handle) const { QX_IDP_DeleteHandle(handle); }
  };
  std::unique_ptr<IdpHandle, Delete> handle_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_CROP_ENGINE_H
