#include "mask/mask_transfer.h"

#include "crop/resample.h"

namespace qx {
namespace {

constexpr uint8_t kOutside = 0;

// Positions of a quarter turn that adds or subtracts the origin first.
auto Along(double turn, double origin) {
  return [=](int32_t k) { return turn * (k + origin); };
}

}  // namespace

bool ReserveForeground(FaceRecord* face) {
  ByteBuffer mask, colour;
  if (!face->fgMask && !mask.AllocateZeroed(ImageBytes(face->cropWidth, face->cropHeight, 1))) return false;
  if (!face->fgColour && !colour.AllocateZeroed(ImageBytes(face->cropWidth, face->cropHeight, 3))) return false;
  if (mask) face->fgMask = std::move(mask);
  if (colour) face->fgColour = std::move(colour);
  return true;
}

bool MaskToCrop(const ImageView& mask, const ImageView& colour, FaceRecord* face) {
  const int32_t srcWidth = mask.width, srcHeight = mask.height;
  const double c = face->rotCos, s = face->rotSin;
  CropSampling sampling;
  sampling.turned = c == 0;
  const bool built = sampling.turned ? sampling.columns.Build(face->cropWidth, srcHeight, Along(-s, face->originX)) &&
                                           sampling.rows.Build(face->cropHeight, srcWidth, Along(s, face->originY))
                                     : sampling.columns.Build(face->cropWidth, srcWidth, Along(c, face->originX)) &&
                                           sampling.rows.Build(face->cropHeight, srcHeight, Along(c, face->originY));
  if (!built) return false;
  ResampleUpright(mask, sampling, kOutside, face->fgMask.data());
  ResampleUpright(colour, sampling, kOutside, face->fgColour.data());
  return true;
}

bool MapCropToSource(const FaceRecord& face, const uint8_t* cropMask, const uint8_t* cropImage,
                     const MutableImage& mask, const MutableImage& image) {
  const int32_t srcWidth = mask.width, srcHeight = mask.height;
  const double c = face.rotCos, s = face.rotSin;
  CropSampling sampling;
  sampling.turned = c == 0;
  const bool built = sampling.turned ? sampling.columns.Build(srcWidth, face.cropHeight, Along(s, -face.originX)) &&
                                           sampling.rows.Build(srcHeight, face.cropWidth, Along(-s, -face.originY))
                                     : sampling.columns.Build(srcWidth, face.cropWidth, Along(c, -face.originX)) &&
                                           sampling.rows.Build(srcHeight, face.cropHeight, Along(c, -face.originY));
  if (!built) return false;
  const int32_t width = face.cropWidth, height = face.cropHeight;
  if (mask.pixels != nullptr) ResampleUpright({cropMask, width, height, 1}, sampling, kOutside, mask.pixels);
  if (image.pixels != nullptr) ResampleUpright({cropImage, width, height, 3}, sampling, kOutside, image.pixels);
  return true;
}

}  // namespace qx
