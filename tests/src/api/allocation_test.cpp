// The n-th allocation of the library fails, for every n.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "beauty/detail/enhance_region.h"
#include "beauty/pipeline.h"
#include "beauty/retouch_skin.h"
#include "beauty/shape/contour_warp.h"
#include "beauty/shape/lens_warp.h"
#include "beauty/skin_tone.h"
#include "src/scripted_engine.h"

namespace {

// Allocations of the library that still succeed; negative: all do.
int allowed = -1;
bool onlyOne = false;  // the one after those fails, and later ones succeed again
bool refused = false;  // since it was last set

bool MayAllocate() {
  if (allowed < 0) return true;
  if (allowed == 0) {
    refused = true;
    if (onlyOne) allowed = -1;
    return false;
  }
  --allowed;
  return true;
}

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_malloc(size_t size) {
  return MayAllocate() ? __real_malloc(size) : nullptr;
}
void* __wrap_calloc(size_t count, size_t size) {
  return MayAllocate() ? __real_calloc(count, size) : nullptr;
}
}

// The library makes its objects with the nothrow forms only. Not inlined, so that no compiler sees malloc and free
// where new and delete stand.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size == 0 ? 1 : size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size == 0 ? 1 : size);
}
[[gnu::noinline]] void operator delete(void* p) noexcept {
  std::free(p);
}
[[gnu::noinline]] void operator delete[](void* p) noexcept {
  std::free(p);
}
[[gnu::noinline]] void operator delete(void* p, size_t) noexcept {
  std::free(p);
}
[[gnu::noinline]] void operator delete[](void* p, size_t) noexcept {
  std::free(p);
}
void* operator new(size_t size) {
  void* p = __real_malloc(size == 0 ? 1 : size);
  if (p == nullptr) std::abort();
  return p;
}
void* operator new[](size_t size) {
  return operator new(size);
}

namespace qx::test {
namespace {

TEST(Allocation, CreationAnswersNull) {
  Script().Reset();
  allowed = 0;
  EXPECT_EQ(QX_IDP_CreateHandle(), nullptr);
  EXPECT_EQ(QX_IDP_CreateIDPResult(), nullptr);
  allowed = -1;
}

using Bytes = std::vector<uint8_t>;

// Lets the first, the second, ... allocation of a call fail, one a call, until a call needs no more of them; returns
// how many calls fell short.
template <typename Call, typename Check>
int FailEachAllocation(Call call, Check check) {
  int shortages = 0;
  for (bool complete = false; !complete && shortages < 200; ++shortages) {
    refused = false;
    onlyOne = true;
    allowed = shortages;
    const int32_t status = call();
    allowed = -1;
    onlyOne = false;
    complete = !refused;
    check(status, complete);
    if (::testing::Test::HasFatalFailure()) break;
  }
  return shortages - 1;
}

TEST(Allocation, ACropRunLeavesTheResultUsable) {
  const HandlePtr handle = FreshHandle();
  ResultPtr result(QX_IDP_CreateIDPResult());
  Script().detections = {{LevelFace(200, 200, 200), LevelFace(100, 100, 30)}};
  Photo photo(400, 400);
  const IdpImage image = photo.Image();
  const auto call = [&] { return QX_IDP_RoughCrop(handle.get(), &image, IDP_CROP_SINGLE, result.get()); };
  const auto check = [&](int32_t status, bool complete) {
    EXPECT_EQ(Script().openLists, 0);
    int32_t count = 0, read = 0, width = 0, height = 0;
    QX_IDP_GetFaceNumber(result.get(), &count);
    EXPECT_EQ(count, status == IDP_OK ? 2 : 0);
    for (int32_t i = 0; i < count; ++i) {
      QX_IDP_GetRCSize(result.get(), i, &height, &width);
      Bytes mask(static_cast<size_t>(width) * static_cast<size_t>(height)), pixels(mask.size() * 3);
      read += QX_IDP_GetRCImage(result.get(), i, pixels.data(), mask.data()) == IDP_OK ? 1 : 0;
    }
    EXPECT_EQ(read == 2, complete);
    result.reset(QX_IDP_CreateIDPResult());
  };
  // Grey image, records, and for each crop the image, the mask and the two axes.
  EXPECT_GE(FailEachAllocation(call, check), 10);
}

struct Retouched {
  Bytes image, mask;
};

// The pipeline with some of its stages left out.
Retouched LeaveOut(const Photo& photo, const Photo& mask, const LandmarkSet& set, bool left, bool right, bool contour) {
  const auto view = [&photo](const uint8_t* pixels) { return ImageView{pixels, photo.width, photo.height, 3}; };
  Retouched r = {photo.pixels, mask.pixels};
  Bytes reference = photo.pixels;
  const auto stage = [&r](auto run) {
    Bytes out(r.image.size());
    run(r.image.data(), out.data());
    r.image = out;
  };
  const auto detail = [&](FaceRegion region) {
    stage([&](const uint8_t* in, uint8_t* out) {
      EnhanceRegion(reference.data(), view(in), set.Region(region), 0.7, out);
    });
  };
  const auto lens = [&](FaceRegion region) {
    stage([&](const uint8_t* in, uint8_t* out) { LensWarp(view(in), region, set.Region(region), 200, 1, 2, out); });
  };
  if (!left) detail(FaceRegion::kLeftEye);
  if (!right) detail(FaceRegion::kRightEye);
  stage([&](const uint8_t* in, uint8_t* out) { ApplySkinToneLut(view(in), 4, out); });
  for (const FaceRegion region : {FaceRegion::kLeftEye, FaceRegion::kRightEye, FaceRegion::kMouth}) lens(region);
  if (!contour) {
    stage([&](const uint8_t* in, uint8_t* out) {
      ContourWarp(view(in), mask.pixels.data(), set.Attributes(), 3, out, r.mask.data());
    });
  }
  return r;
}

constexpr BeautyParams kAllStages = {{2, 2, 2, 4, 0, 1, 3}};

TEST(Allocation, EveryRetouchedImageIsThatOfWholeStages) {
  FaceRecord face;
  const ScriptedFace script = DetailedFace(150, 150, 120);
  std::copy(std::begin(script.landmarks), std::end(script.landmarks), face.source.landmarks);
  std::copy(std::begin(script.attributes), std::end(script.attributes), face.source.attributes);
  face.alignOutF = face.alignOutG = face.alignOutH = 200;
  const LandmarkSet set = BuildLandmarkSetSource(face);
  const Photo photo(300, 300), mask(300, 300, 1);
  std::vector<Retouched> possible = {{photo.pixels, mask.pixels}};
  for (int out = 0; out < 8; ++out) {
    possible.push_back(LeaveOut(photo, mask, set, (out & 1) != 0, (out & 2) != 0, (out & 4) != 0));
  }
  Bytes image, maskOut;
  std::vector<int> seen(possible.size());
  const auto call = [&] {
    image = photo.pixels;
    maskOut = mask.pixels;
    RunBeautyPipeline({image.data(), 300, 300, 3}, set, kAllStages, maskOut.data(), image.data());
    return 0;
  };
  const auto check = [&](int32_t, bool complete) {
    size_t i = 0;
    while (i < possible.size() && (possible[i].image != image || possible[i].mask != maskOut)) ++i;
    ASSERT_LT(i, possible.size());
    ++seen[i];
    if (complete) {
      EXPECT_EQ(i, 1u) << "with enough memory no stage is left out";
    }
  };
  // The working buffer; the copy of the detail stage; for each eye the marks, their sums, two patches and the filter's
  // six buffers; three tables; the copy of the mask.
  EXPECT_GE(FailEachAllocation(call, check), 26);
  EXPECT_EQ(seen[0], 1) << "without a working buffer the image stays";
  for (const size_t i : {1u, 2u, 3u, 5u}) EXPECT_GT(seen[i], 0) << i;
}

TEST(Allocation, TheBeautyCallsAnswerAndKeepTheirBuffers) {
  for (const int32_t mode : {IDP_CROP_SINGLE, IDP_CROP_PAIR}) {
    const HandlePtr handle = FreshHandle();
    const ResultPtr result(QX_IDP_CreateIDPResult());
    Script().detections = {{DetailedFace(120, 180, 60), DetailedFace(280, 190, 60)}};
    Photo photo(420, 400), mask(420, 400, 1);
    const IdpImage image = photo.Image();
    QX_IDP_SetSrcSame(handle.get(), 1);
    ASSERT_EQ(QX_IDP_RoughCrop(handle.get(), &image, mode, result.get()), IDP_OK);
    if (mode == IDP_CROP_SINGLE) {
      ASSERT_EQ(QX_IDP_SetSrcMaskFg(result.get(), 0, mask.pixels.data(), photo.pixels.data()), IDP_OK);
    }
    // As large as the photograph or the largest crop.
    const Bytes blank(3000000, 7);
    Bytes out, maskOut;
    const auto check = [&](int32_t status, bool complete) {
      ASSERT_TRUE(status == IDP_OK || (status == IDP_ERR_PARAM && !complete));
      if (status != IDP_OK) {
        ASSERT_EQ(out, blank);
      }
    };
    const auto shortages = [&](auto run) {
      const auto call = [&] {
        out = maskOut = blank;
        return run();
      };
      return FailEachAllocation(call, check);
    };
    IdpHandle* const h = handle.get();
    IDPResult* const r = result.get();
    const auto crop = [&] { return QX_IDP_DoFaceBeauty(h, nullptr, r, 0, &kAllStages, maskOut.data(), out.data()); };
    const auto whole = [&] { return QX_IDP_DoFaceBeauty(h, &image, r, 0, &kAllStages, nullptr, out.data()); };
    const auto both = [&] { return QX_IDP_Do91Beauty(h, r, 0, &kAllStages, maskOut.data(), out.data()); };
    EXPECT_GT(shortages(crop), 25);
    EXPECT_GT(shortages(whole), 20);
    if (mode == IDP_CROP_SINGLE) {
      EXPECT_GT(shortages(both), 30);
    }
  }
}

TEST(Allocation, SkinRetouchLeavesOutWhatItCannotHold) {
  const Photo photo(160, 160);
  LandmarkSet set;
  const Point box[] = {{30, 30}, {130, 30}, {30, 130}, {130, 130}};
  std::copy(std::begin(box), std::end(box), set.FaceBox());
  set.Eyes()[0] = {60, 60};
  set.Eyes()[1] = {100, 60};
  Bytes image, whole;
  const auto call = [&] {
    image = photo.pixels;
    Bytes work(image.size());
    RetouchSkin({image.data(), 160, 160, 3}, 4, &set, work.data());
    return 0;
  };
  call();
  whole = image;
  ASSERT_NE(whole, photo.pixels);
  int without = 0;
  const auto check = [&](int32_t, bool complete) {
    without += image == photo.pixels ? 1 : 0;
    ASSERT_TRUE(image == whole || (image == photo.pixels && !complete));
  };
  // Spots, of which there are none, tables, masks, the filter and the layer.
  EXPECT_GE(FailEachAllocation(call, check), 25);
  EXPECT_GE(without, 20);
}

}  // namespace
}  // namespace qx::test
