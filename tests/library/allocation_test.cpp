// The n-th allocation of the library fails, for every n.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "library/scripted_engine.h"

namespace {

// Allocations of the library that still succeed; negative: all do.
int allowed = -1;

bool MayAllocate() {
  if (allowed < 0) return true;
  if (allowed == 0) return false;
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

TEST(Allocation, ACropRunLeavesTheResultUsable) {
  Script().Reset();
  Script().detections = {{LevelFace(200, 200, 200), LevelFace(100, 100, 30)}};
  Photo photo(400, 400);
  const IdpImage image = photo.Image();
  const HandlePtr handle(QX_IDP_CreateHandle());
  int32_t status = IDP_ERR_PARAM;
  int failures = 0;
  bool complete = false;
  for (int n = 0; !complete; ++n, ++failures) {
    ASSERT_LT(n, 100);
    const ResultPtr result(QX_IDP_CreateIDPResult());
    allowed = n;
    status = QX_IDP_RoughCrop(handle.get(), &image, IDP_CROP_SINGLE, result.get());
    allowed = -1;
    EXPECT_EQ(Script().openLists, 0);
    int32_t count = 0, width = 0, height = 0;
    QX_IDP_GetFaceNumber(result.get(), &count);
    EXPECT_EQ(count, status == IDP_OK ? 2 : 0);
    complete = status == IDP_OK;
    for (int32_t i = 0; i < count; ++i) {
      QX_IDP_GetRCSize(result.get(), i, &height, &width);
      std::vector<uint8_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
      std::vector<uint8_t> mask(pixels.size() / 3);
      complete = QX_IDP_GetRCImage(result.get(), i, pixels.data(), mask.data()) == IDP_OK && complete;
    }
  }
  // Grey image, records, and for each crop the image, the mask and the two axes.
  EXPECT_GE(failures, 10);
}

}  // namespace
}  // namespace qx::test
