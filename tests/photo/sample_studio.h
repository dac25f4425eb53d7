// The sample photograph, finished photographs of it, and what tests ask of these.
#ifndef QX_TESTS_PHOTO_SAMPLE_STUDIO_H
#define QX_TESTS_PHOTO_SAMPLE_STUDIO_H

#include <algorithm>
#include <string>
#include <vector>

#include "codec/codec.h"
#include "photo/studio.h"
#include "support/test_files.h"

namespace qx::photo {

inline const Image& Sample() {
  static const Image sample = codec::ReadImage(QX_SAMPLE_PHOTO);
  return sample;
}

inline MakeRequest RequestFor(const char* preset, const char* background = "white") {
  MakeRequest request;
  request.document = Derive(FindPreset(preset));
  request.background = ParseBackground(background);
  return request;
}

inline MadePhoto Make(Studio& studio, const Image& photograph, const MakeRequest& request, const Mask* mask = nullptr) {
  ImageSource source(photograph);
  return studio.Make(source, {}, request, mask);
}

inline double LeanOf(FaceFinder& finder, const Image& photograph) {
  return finder.Find(photograph).at(0).Roll();
}

inline bool HasRemark(const MadePhoto& made, const char* text) {
  return std::any_of(made.remarks.begin(), made.remarks.end(),
                     [&](const std::string& remark) { return test::Contains(remark, text); });
}

// The sample turned clockwise on a plain ground: all of it, or cut to its own size.
inline Image Turned(double degrees, bool cut) {
  const std::vector<double> ground{140, 150, 160};
  vips::VImage turned = test::ToVips(Sample()).rotate(degrees, vips::VImage::option()->set("background", ground));
  const int width = Sample().width, height = Sample().height;
  if (cut) turned = turned.extract_area((turned.width() - width) / 2, (turned.height() - height) / 2, width, height);
  return test::Reread(turned);
}

}  // namespace qx::photo

#endif  // QX_TESTS_PHOTO_SAMPLE_STUDIO_H
