#ifndef QX_API_RESULT_H
#define QX_API_RESULT_H

#include <cstdint>
#include <memory>

#include "crop/crop_settings.h"
#include "crop/pair_crop.h"
#include "face/face_record.h"
#include "qx_idp.h"

// All that is known of one photograph. The settings are the handle's at the time of the crop run.
struct IDPResult {
  int32_t srcWidth = 0;
  int32_t srcHeight = 0;
  int32_t srcChannels = 0;
  int32_t cropMode = 0;  // IDP_CROP_SINGLE, IDP_CROP_PAIR, or 0 before the first run
  qx::CropSettings settings;
  int32_t faceCount = 0;
  std::unique_ptr<qx::FaceRecord[]> faces;  // faceCount records, or null
  std::unique_ptr<qx::PairCrop> pairCrop;   // two-face mode only

  // The record of an index below faceCount; null for a negative index, which names an empty record.
  qx::FaceRecord* Face(int32_t index) const { return index < 0 ? nullptr : &faces[static_cast<size_t>(index)]; }

  // Whether a crop stands for the index: the face's own.
  bool HasFaceCrop(int32_t index) const;
  // Whether the crop that the getters hand out is there: the face's own or the common one, by the mode.
  bool HasModeCrop(int32_t index) const;

  // Frees the records and all crops.
  void ReleaseContents();
};

namespace qx {

// The crop that the getters hand out for an index: the face's own in single mode, else the common one. All null or 0
// where there is none.
struct CropView {
  int32_t width = 0;
  int32_t height = 0;
  const uint8_t* image = nullptr;
  const uint8_t* mask = nullptr;
  const uint8_t* fgMask = nullptr;
  const uint8_t* fgColour = nullptr;
};
CropView ViewCrop(const IDPResult& result, int32_t index);

}  // namespace qx

#endif  // QX_API_RESULT_H
