#ifndef QX_CROP_CROP_SETTINGS_H
#define QX_CROP_CROP_SETTINGS_H

#include <cstdint>

namespace qx {

// How a crop stands around the face, in units of the distance between the outer eye corners: the crop is
// ratioLeft + ratioRight of them wide; the height follows from the proportions of the sums.
struct CropSettings {
  double ratioLeft = 2.4;
  double ratioRight = 2.4;
  double ratioUp = 2.78;
  double ratioDown = 3.32;
  uint8_t srcSame = 0;    // nonzero: keep the scale of the photograph
  int32_t lrBound = 800;  // upper bound of a crop's width without srcSame; -1 is applied as it stands

  // One number for the width of the frame: 0 (close) to 1 (wide), which is not checked. The getter divides by what the
  // setter multiplied with: one unit in the last place above 0.6.
  static constexpr double kRatioSpan = 0x1.3333333333334p-1, kRatioBase = 2.0;
  void SetRatio(double ratio) {
    const double side = ratio * kRatioSpan + kRatioBase;
    ratioLeft = side;
    ratioRight = side;
    ratioDown = (side * 3.32) / 2.4;
    ratioUp = (side * 2.78) / 2.4;
  }
  double Ratio() const { return (ratioLeft - kRatioBase) / kRatioSpan; }

  double WidthRatio() const { return ratioLeft + ratioRight; }
  double HeightRatio() const { return ratioUp + ratioDown; }
};

}  // namespace qx

#endif  // QX_CROP_CROP_SETTINGS_H
