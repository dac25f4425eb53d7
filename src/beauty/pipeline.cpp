#include "beauty/pipeline.h"

#include <cmath>

#include "base/buffer.h"
#include "beauty/detail/enhance_region.h"
#include "beauty/retouch_skin.h"
#include "beauty/shape/contour_warp.h"
#include "beauty/shape/lens_warp.h"
#include "beauty/skin_tone.h"

namespace qx {
namespace {

constexpr double kDetailFactor = 0.7;

// One run: the image moves to and fro between the output and a working buffer of the same size.
class BeautyRun {
 public:
  BeautyRun(const MutableImage& output, const LandmarkSet& landmarks)
      : output_(output), bytes_(output.Bytes()), landmarks_(landmarks) {}

  bool Prepare() { return work_.Allocate(bytes_); }

  void EnhanceDetail() {
    ByteBuffer reference;
    if (!reference.Allocate(bytes_)) return;
    CopyBytes(reference.data(), output_.pixels, bytes_);
    EnhanceRegion(reference.data(), output_, landmarks_.Region(FaceRegion::kLeftEye), kDetailFactor, work_.data());
    EnhanceRegion(reference.data(), View(work_.data()), landmarks_.Region(FaceRegion::kRightEye), kDetailFactor,
                  output_.pixels);
  }

  void RetouchSkin(double strength) { qx::RetouchSkin(output_, strength, &landmarks_, work_.data()); }

  void ToneSkin(double strength) {
    Copy(output_.pixels, work_.data());
    if (ApplySkinToneLut(View(work_.data()), TruncToInt32(strength), output_.pixels) != Status::kOk) {
      Copy(work_.data(), output_.pixels);
    }
  }

  void WarpRegions(const double* strengths) {
    Copy(output_.pixels, work_.data());
    WarpRegion(FaceRegion::kLeftEye, strengths[0], work_.data(), output_.pixels);
    WarpRegion(FaceRegion::kRightEye, strengths[1], output_.pixels, work_.data());
    WarpRegion(FaceRegion::kMouth, strengths[2], work_.data(), output_.pixels);
  }

  void WarpContour(double strength, uint8_t* mask) {
    Copy(output_.pixels, work_.data());
    const uint64_t maskBytes = bytes_ / 3;
    ByteBuffer maskCopy;
    if (mask != nullptr) {
      if (!maskCopy.Allocate(maskBytes)) return;
      CopyBytes(maskCopy.data(), mask, maskBytes);
    }
    if (ContourWarp(View(work_.data()), maskCopy.data(), landmarks_.Attributes(), strength, output_.pixels, mask) !=
        Status::kOk) {
      Copy(work_.data(), output_.pixels);
      if (mask != nullptr) CopyBytes(mask, maskCopy.data(), maskBytes);
    }
  }

 private:
  ImageView View(const uint8_t* pixels) const { return {pixels, output_.width, output_.height, 3}; }
  void Copy(const uint8_t* from, uint8_t* to) const { CopyBytes(to, from, bytes_); }

  void WarpRegion(FaceRegion region, double strength, const uint8_t* from, uint8_t* to) const {
    const int32_t direction = 0 > strength ? 0 : 1;
    if (LensWarp(View(from), region, landmarks_.Region(region), landmarks_.RegionValue(region), direction,
                 std::fabs(strength), to) != Status::kOk) {
      Copy(from, to);
    }
  }

  MutableImage output_;
  uint64_t bytes_;
  LandmarkSet landmarks_;  // the skin stage clamps its face box
  ByteBuffer work_;
};

}  // namespace

void RunBeautyPipeline(const ImageView& source, const LandmarkSet& landmarks, const BeautyParams& params, uint8_t* mask,
                       uint8_t* output) {
  if (source.pixels != output) CopyBytes(output, source.pixels, source.Bytes());
  BeautyRun run({output, source.width, source.height, 3}, landmarks);
  if (!run.Prepare()) return;
  const double* p = params.p;
  if (p[5] > 0) run.EnhanceDetail();
  if (p[4] > 0) run.RetouchSkin(p[4]);
  if (p[3] > 0) run.ToneSkin(p[3]);
  run.WarpRegions(p);
  run.WarpContour(p[6], mask);
}

}  // namespace qx
