#include "beauty/pipeline.h"

#include <cmath>
#include <cstring>

#include "base/buffer.h"
#include "beauty/contour_warp.h"
#include "beauty/enhance_region.h"
#include "beauty/lens_warp.h"
#include "beauty/retouch_skin.h"
#include "beauty/skin_tone.h"

namespace qx {
namespace {

constexpr double kDetailFactor = 0.7;

// One run: the image moves to and fro between the output and a working buffer of the same size.
class BeautyRun {
 public:
  BeautyRun(int32_t rows, int32_t columns, const LandmarkSet& landmarks, uint8_t* output)
      : rows_(rows), columns_(columns), bytes_(ImageBytes(columns, rows, 3)), landmarks_(landmarks), output_(output) {}

  bool Prepare() { return work_.Allocate(bytes_); }

  void EnhanceDetail() {
    ByteBuffer reference;
    if (!reference.Allocate(bytes_)) return;
    std::memcpy(reference.data(), output_, bytes_);
    EnhanceRegion(reference.data(), output_, columns_, rows_, landmarks_.Region(FaceRegion::kLeftEye), kDetailFactor,
                  work_.data());
    EnhanceRegion(reference.data(), work_.data(), columns_, rows_, landmarks_.Region(FaceRegion::kRightEye),
                  kDetailFactor, output_);
  }

  void RetouchSkin(double strength) { qx::RetouchSkin(rows_, columns_, strength, &landmarks_, output_, work_.data()); }

  void ToneSkin(double strength) {
    Copy(output_, work_.data());
    if (ApplySkinToneLut(work_.data(), columns_, rows_, TruncToInt32(strength), output_) < 0) {
      Copy(work_.data(), output_);
    }
  }

  void WarpRegions(const double* strengths) {
    Copy(output_, work_.data());
    WarpRegion(FaceRegion::kLeftEye, LensMode::kLeftEye, strengths[0], work_.data(), output_);
    WarpRegion(FaceRegion::kRightEye, LensMode::kRightEye, strengths[1], output_, work_.data());
    WarpRegion(FaceRegion::kMouth, LensMode::kMouth, strengths[2], work_.data(), output_);
  }

  void WarpContour(double strength, uint8_t* mask) {
    Copy(output_, work_.data());
    const uint64_t maskBytes = bytes_ / 3;
    ByteBuffer maskCopy;
    if (mask != nullptr) {
      if (!maskCopy.Allocate(maskBytes)) return;
      std::memcpy(maskCopy.data(), mask, maskBytes);
    }
    if (ContourWarp(work_.data(), maskCopy.data(), columns_, rows_, landmarks_.Attributes(), strength, output_, mask) <
        0) {
      Copy(work_.data(), output_);
      if (mask != nullptr) std::memcpy(mask, maskCopy.data(), maskBytes);
    }
  }

 private:
  void Copy(const uint8_t* from, uint8_t* to) const { std::memcpy(to, from, bytes_); }

  void WarpRegion(FaceRegion region, LensMode mode, double strength, const uint8_t* from, uint8_t* to) const {
    const int32_t direction = 0 > strength ? 0 : 1;
    if (LensWarp(from, columns_, rows_, landmarks_.Region(region), landmarks_.RegionValue(region), direction,
                 std::fabs(strength), mode, to) < 0) {
      Copy(from, to);
    }
  }

  int32_t rows_, columns_;
  uint64_t bytes_;
  LandmarkSet landmarks_;  // the skin stage clamps its face box
  uint8_t* output_;
  ByteBuffer work_;
};

}  // namespace

void RunBeautyPipeline(const uint8_t* source, int32_t rows, int32_t columns, const LandmarkSet& landmarks,
                       const BeautyParams& params, uint8_t* mask, uint8_t* output) {
  if (source != output) std::memcpy(output, source, ImageBytes(columns, rows, 3));
  BeautyRun run(rows, columns, landmarks, output);
  if (!run.Prepare()) return;
  const double* p = params.p;
  if (p[5] > 0) run.EnhanceDetail();
  if (p[4] > 0) run.RetouchSkin(p[4]);
  if (p[3] > 0) run.ToneSkin(p[3]);
  run.WarpRegions(p);
  run.WarpContour(p[6], mask);
}

}  // namespace qx
