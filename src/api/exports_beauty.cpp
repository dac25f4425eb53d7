// Exports: retouching.

#include "api/pair_beauty.h"
#include "api/result.h"
#include "base/buffer.h"
#include "beauty/pipeline.h"
#include "mask/mask_transfer.h"

namespace qx {
namespace {

// Keeps the strengths for the face of the index.
void StorePairParams(int32_t index, const BeautyParams& params, PairCrop* pair) {
  pair->beauty[index != 0 ? 1 : 0] = params;
}

void BeautifyPairImage(const IdpImage& image, const IDPResult& result, uint8_t* out) {
  for (int i = 0; i < 2; ++i) {
    const ImageView source = {i == 0 ? image.pixels : out, image.width, image.height, 3};
    RunBeautyPipeline(source, BuildLandmarkSetSource(*result.Face(i)), result.pairCrop->beauty[i], nullptr, out);
  }
}

// False when memory is short.
bool BeautifyPairCrop(IDPResult* result, uint8_t* out) {
  ByteBuffer retouched[2];
  for (int i = 0; i < 2; ++i) {
    const FaceRecord& face = *result->Face(i);
    if (!retouched[i].AllocateZeroed(ImageBytes(face.cropWidth, face.cropHeight, 3))) return false;
    // Without a foreground image the buffer of zeros stands in for it.
    const ImageView source = {face.fgColour ? face.fgColour.data() : retouched[i].data(), face.cropWidth,
                              face.cropHeight, 3};
    RunBeautyPipeline(source, BuildLandmarkSetCrop(face), result->pairCrop->beauty[i], nullptr, retouched[i].data());
  }
  ComposePairBeauty(result, retouched[0].data(), retouched[1].data(), out);
  return true;
}

bool HasForeground(const FaceRecord& face) {
  return face.fgColour && face.fgMask;
}

// A face's colour image, which is there, into buffers of the crop's size; the mask goes in as the face's own.
void BeautifyCrop(const FaceRecord& face, const BeautyParams& params, uint8_t* mask, uint8_t* image) {
  CopyBytes(mask, face.fgMask.data(), ImageBytes(face.cropWidth, face.cropHeight, 1));
  RunBeautyPipeline({face.fgColour.data(), face.cropWidth, face.cropHeight, 3}, BuildLandmarkSetCrop(face), params,
                    mask, image);
}

}  // namespace
}  // namespace qx

extern "C" {

int32_t QX_IDP_DoFaceBeauty(IdpHandle* handle, const IdpImage* image, IDPResult* result, int32_t index,
                            const BeautyParams* params, uint8_t* maskOut, uint8_t* imageOut) {
  if (handle == nullptr || result == nullptr) return IDP_ERR_HANDLE;
  if (imageOut == nullptr || index >= result->faceCount) return IDP_ERR_PARAM;
  if (!result->HasFaceCrop(index) || params == nullptr) return IDP_ERR_PARAM;
  const qx::FaceRecord& face = *result->Face(index);
  const bool givenImage = image != nullptr && image->pixels != nullptr;
  if (givenImage && image->channels != 3) return IDP_ERR_PARAM;  // the stages read three bytes a pixel
  if (result->cropMode == IDP_CROP_SINGLE) {
    if (givenImage) {
      qx::RunBeautyPipeline({image->pixels, image->width, image->height, 3}, qx::BuildLandmarkSetSource(face), *params,
                            nullptr, imageOut);
      return IDP_OK;
    }
    if (maskOut == nullptr) return IDP_ERR_PARAM;
    if (!qx::HasForeground(face)) return IDP_ERR_NO_MASK;
    qx::BeautifyCrop(face, *params, maskOut, imageOut);
    return IDP_OK;
  }
  qx::StorePairParams(index, *params, result->pairCrop.get());
  if (givenImage) {
    qx::BeautifyPairImage(*image, *result, imageOut);
    return IDP_OK;
  }
  return qx::BeautifyPairCrop(result, imageOut) ? IDP_OK : IDP_ERR_PARAM;
}

int32_t QX_IDP_Do91Beauty(IdpHandle* handle, IDPResult* result, int32_t index, const BeautyParams* params,
                          uint8_t* maskOut, uint8_t* imageOut) {
  if (handle == nullptr || result == nullptr) return IDP_ERR_HANDLE;
  if (imageOut == nullptr || index >= result->faceCount) return IDP_ERR_PARAM;
  if (!result->HasFaceCrop(index) || result->cropMode != IDP_CROP_SINGLE || maskOut == nullptr) return IDP_ERR_PARAM;
  const qx::FaceRecord& face = *result->Face(index);
  if (!qx::HasForeground(face)) return IDP_ERR_NO_MASK;
  if (params == nullptr) return IDP_ERR_PARAM;
  const uint64_t pixels = qx::ImageBytes(face.cropWidth, face.cropHeight, 1);
  qx::ByteBuffer mask, image;
  if (!mask.Allocate(pixels) || !image.Allocate(pixels * 3)) return IDP_ERR_PARAM;
  qx::BeautifyCrop(face, *params, mask.data(), image.data());
  return qx::MapCropToSource(face, mask.data(), image.data(), {maskOut, result->srcWidth, result->srcHeight, 1},
                             {imageOut, result->srcWidth, result->srcHeight, 3})
             ? IDP_OK
             : IDP_ERR_PARAM;
}

}  // extern "C"
