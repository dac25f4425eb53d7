#include "photo/face/crop_engine.h"

#include <algorithm>
#include <new>

#include "photo/base/failure.h"

namespace qx::photo {
namespace {

void Check(int32_t status) {
  if (status != IDP_OK) throw StatusFailure(status);
}

// The library only reads the pixels.
IdpImage View(const Image& photograph) {
  return {const_cast<uint8_t*>(photograph.bgr.data()), 3, photograph.height, photograph.width};
}

}  // namespace

Failure StatusFailure(int32_t status) {
  switch (status) {
    case IDP_ERR_NO_FACE:
      return {FailureCode::kNoFace,
              "no face found; try a photograph that shows the face from the front, sharp, well lit and at least "
              "40 pixels wide"};
    case IDP_ERR_TOO_FEW_FACES:
      return {FailureCode::kTooFewFaces, "only one face found where two are needed; try a photograph that shows both"};
    case IDP_ERR_PAIR_CROP:
      return {FailureCode::kFacesTurned, "the two faces do not stand the same way up; turn the photograph upright"};
    default:
      return {FailureCode::kOutOfMemory, std::string("the library refused the photograph (") +
                                             QX_IDP_StatusName(status) +
                                             "); it may be too large for the memory of this machine"};
  }
}

CropResult::CropResult() : result_(QX_IDP_CreateIDPResult()) {
  if (!result_) throw std::bad_alloc();
}

int32_t CropResult::FaceCount() const {
  int32_t count = 0;
  Check(QX_IDP_GetFaceNumber(result_.get(), &count));
  return count;
}

Image CropResult::Crop(int32_t face) const {
  Image image;
  Check(QX_IDP_GetRCSize(result_.get(), face, &image.height, &image.width));
  if (image.width <= 0 || image.height <= 0)
    throw Failure(FailureCode::kTooSmall, "the crop is empty; the face is too small to be framed");
  const size_t pixels = static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
  const Failure tooLarge(FailureCode::kOutOfMemory, "the crop is too large for the memory; choose a smaller one",
                         {{"what", "crop"}});
  if (pixels > INT32_MAX / 3) throw tooLarge;  // kept without pixels
  image.bgr.resize(pixels * 3);
  std::vector<uint8_t> mask(pixels);
  if (QX_IDP_GetRCImage(result_.get(), face, image.bgr.data(), mask.data()) != IDP_OK) throw tooLarge;
  return image;
}

CropOrigin CropResult::FindOrigin(int32_t face, const Image& photograph) {
  // The library keeps the place to itself. A photograph full of person shows it: the first pixel that lies in the crop
  // is found on both sides.
  int32_t height = 0, width = 0;
  Check(QX_IDP_GetRCSize(result_.get(), face, &height, &width));
  std::vector<uint8_t> outside(photograph.bgr.size() / 3, 255);
  Check(QX_IDP_SetSrcMaskFg(result_.get(), face, outside.data(), photograph.bgr.data()));
  std::vector<uint8_t> inside(static_cast<size_t>(width) * static_cast<size_t>(height));
  Check(QX_IDP_GetRCMaskFg(result_.get(), face, inside.data(), nullptr));
  Check(QX_IDP_GetSrcMaskFg(result_.get(), face, outside.data(), nullptr));
  auto first = [](const std::vector<uint8_t>& mask) {
    return static_cast<int32_t>(std::find(mask.begin(), mask.end(), 255) - mask.begin());
  };
  const int32_t there = first(outside), here = first(inside);
  return {there % photograph.width - here % width, there / photograph.width - here / width};
}

void CropResult::SetPerson(int32_t face, const Mask& mask, const Image& colour) {
  Check(QX_IDP_SetSrcMaskFg(result_.get(), face, mask.values.data(), colour.bgr.data()));
}

std::optional<CropRect> CropResult::FineCrop(int32_t face, const FineCropParams& params) const {
  CropRect rect;
  const int32_t status = QX_IDP_FineCrop(result_.get(), face, &params, &rect);
  if (status == IDP_ERR_NO_FIT) return std::nullopt;
  Check(status);
  return rect;
}

CropEngine::CropEngine() : handle_(QX_IDP_CreateHandle()) {
  if (!handle_)
    throw Failure(FailureCode::kEngine, "the face engine cannot load; install the program again or free some memory");
}

void CropEngine::Configure(const CropSettings& settings) {
  if (QX_IDP_SetRCLRRatio(handle_.get(), settings.ratio) != IDP_OK || !(settings.ratio >= 0)) {
    throw Failure(FailureCode::kBadOption, "the ratio must be between 0 and 1");
  }
  // A negative bound would be taken, and gives empty crops.
  if (settings.bound < 0 || QX_IDP_SetRCLRBound(handle_.get(), settings.bound) != IDP_OK) {
    throw Failure(FailureCode::kBadOption, "the bound must be " + std::to_string(kLowestBound) + " or above");
  }
  Check(QX_IDP_SetSrcSame(handle_.get(), settings.sourceScale ? 1 : 0));
}

CropResult CropEngine::CropFaces(const Image& photograph) {
  const IdpImage image = View(photograph);
  CropResult result;
  Check(QX_IDP_RoughCrop(handle_.get(), &image, IDP_CROP_SINGLE, result.result_.get()));
  return result;
}

QualityScores CropEngine::Quality(const CropResult& result, int32_t face) {
  QualityScores scores{};
  Check(QX_IDP_CheckQuality(handle_.get(), result.result_.get(), face, &scores));
  return scores;
}

}  // namespace qx::photo
