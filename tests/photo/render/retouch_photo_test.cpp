// Retouching of a real face, against the library's own.
#include <gtest/gtest.h>

#include <memory>

#include "photo/render/retouch.h"
#include "qx_idp.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

// Every face in its turn, through the C interface.
class Library {
 public:
  explicit Library(Image photograph) : photograph_(std::move(photograph)), handle_(QX_IDP_CreateHandle()) {
    result_.reset(QX_IDP_CreateIDPResult());
    const IdpImage view = View(&photograph_);
    EXPECT_EQ(IDP_OK, QX_IDP_RoughCrop(handle_.get(), &view, IDP_CROP_SINGLE, result_.get()));
  }

  Image Retouched(const std::vector<BeautyParams>& faces) {
    Image image = photograph_;
    for (size_t i = 0; i < faces.size(); ++i) {
      const IdpImage view = View(&image);
      EXPECT_EQ(IDP_OK, QX_IDP_DoFaceBeauty(handle_.get(), &view, result_.get(), static_cast<int32_t>(i), &faces[i],
                                            nullptr, image.bgr.data()));
    }
    return image;
  }

 private:
  static IdpImage View(Image* image) { return {image->bgr.data(), 3, image->height, image->width}; }
  struct Delete {
    void operator()(IdpHandle* handle) const { QX_IDP_DeleteHandle(handle); }
    void operator()(IDPResult* result) const { QX_IDP_DeleteIDPResult(result); }
  };

  Image photograph_;
  std::unique_ptr<IdpHandle, Delete> handle_;
  std::unique_ptr<IDPResult, Delete> result_;
};

BeautyParams ToParams(const Retouch& r, int32_t tone) {
  return {{r.eyes, r.eyes, r.mouth, double{1} * tone, r.skin, r.detail ? 1.0 : 0.0, r.face}};
}

// Large enough for every stage, with rows below that the stages of shape leave out.
vips::VImage TallSample() {
  const vips::VImage large = vips::VImage::new_from_file(QX_SAMPLE_PHOTO).resize(2);
  return large.embed(0, 0, large.width(), 3 * large.height());
}

TEST(RetouchPhoto, IsTheLibrarysWhereNothingIsKept) {
  const Image photograph = Reread(TallSample());
  Library library(photograph);
  const std::vector<ProbedFace> faces = FaceFinder().Find(photograph);
  ASSERT_EQ(1u, faces.size());
  for (Retouch retouch : {Retouch{3, -2, 0, 0, true, 4}, Retouch{0, 0, 4, 2.5, false, 0}, NamedRetouch("light"),
                          NamedRetouch("natural"), NamedRetouch("strong"), Retouch{}}) {
    retouch.keepFeatures = false;
    Image image = photograph;
    RetouchFace(faces[0], retouch, &image);
    EXPECT_EQ(library.Retouched({ToParams(retouch, retouch.tone)}).bgr, image.bgr) << retouch.skin;
    retouch.keepFeatures = true;
    Image kept = photograph;
    RetouchFace(faces[0], retouch, &kept);
    EXPECT_EQ(retouch.skin == 0, kept.bgr == image.bgr) << retouch.skin;
  }
}

TEST(RetouchPhoto, SetsTheToneOfSeveralFacesOnce) {
  const vips::VImage sample = vips::VImage::new_from_file(QX_SAMPLE_PHOTO);
  const Image photograph = Reread(sample.join(sample, VIPS_DIRECTION_HORIZONTAL));
  const std::vector<ProbedFace> faces = FaceFinder().Find(photograph);
  ASSERT_EQ(2u, faces.size());
  Retouch retouch = NamedRetouch("strong");
  retouch.keepFeatures = false;
  Image image = photograph;
  RetouchFaces(faces, retouch, &image);
  EXPECT_EQ(Library(photograph).Retouched({ToParams(retouch, 0), ToParams(retouch, retouch.tone)}).bgr, image.bgr);
}

TEST(RetouchPhoto, TheMaskFollowsAndThePictureIsTheSame) {
  const Image photograph = Reread(TallSample());
  const ProbedFace face = FaceFinder().Find(photograph).at(0);
  Image plain = photograph, masked = photograph;
  Mask mask(photograph.width, photograph.height, 0);
  for (int32_t y = face.corners[0].y; y < face.corners[3].y; ++y) {
    std::fill(mask.Row(y) + face.corners[0].x, mask.Row(y) + face.corners[3].x, uint8_t{255});
  }
  const Mask before = mask;
  RetouchFace(face, NamedRetouch("strong"), &plain);
  RetouchFace(face, NamedRetouch("strong"), &masked, &mask);
  EXPECT_EQ(plain.bgr, masked.bgr);
  EXPECT_NE(before.values, mask.values);
}

}  // namespace
}  // namespace qx::photo
