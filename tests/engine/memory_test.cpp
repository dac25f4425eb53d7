// Memory is short from the n-th request on, for many n: the engine tells it and works on when memory is back.
#include <gtest/gtest.h>
#include <xnnpack.h>

#include <cstdlib>
#include <random>

#include "engine_instance.h"
#include "support/failing_new.h"

// Requests that still succeed; negative: all do. XNNPACK makes no thread of its own here.
static int allowed = -1;

static bool MayAllocate(size_t) {
  if (allowed > 0) --allowed;
  return allowed != 0;
}

namespace qx::face {
namespace {

void* Allocate(void*, size_t size) {
  return MayAllocate(size) ? std::malloc(size) : nullptr;
}
void* Reallocate(void*, void* p, size_t size) {
  return MayAllocate(size) ? std::realloc(p, size) : nullptr;
}
void Free(void*, void* p) {
  std::free(p);
}
void* AllocateAligned(void*, size_t alignment, size_t size) {
  return MayAllocate(size) ? std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment) : nullptr;
}

// A picture without a face: an answer of none and short memory are told apart.
Grey Noise() {
  std::mt19937 random(1);
  Grey image{60, 40, std::vector<uint8_t>(2400)};
  for (uint8_t& pixel : image.pixels) pixel = static_cast<uint8_t>(random());
  return image;
}

// Calls `attempt` with 0, 1, 2 ... requests allowed, in growing steps, until it answers that all went well. Returns
// how often it did not.
template <typename Attempt>
int CountFailures(Attempt attempt) {
  int failures = 0;
  for (int requests = 0; requests < 1000000; requests += 1 + requests / 16, ++failures) {
    allowed = requests + 1;
    const bool done = attempt();
    allowed = -1;
    if (done) return failures;
  }
  ADD_FAILURE() << "never enough";
  return failures;
}

class ShortMemory : public ::testing::Test {
 protected:
  // The first to initialise XNNPACK in a process says whom it asks for memory.
  static void SetUpTestSuite() {
    static const xnn_allocator kAllocator = {nullptr, Allocate, Reallocate, Free, AllocateAligned, Free};
    ASSERT_EQ(xnn_initialize(&kAllocator), xnn_status_success);
  }
};

TEST_F(ShortMemory, CreationAnswersNull) {
  const auto createAll = [](void* (*create)(), void (*release)(void*)) {
    return CountFailures([=] {
      void* made = create();
      release(made);
      return made != nullptr;
    });
  };
  EXPECT_GT(createAll(FaceDetectorCreate, FaceDetectorRelease), 50);
  EXPECT_GT(createAll(LandmarkerCreate, LandmarkerRelease), 50);
  EXPECT_EQ(createAll(FaceAttrCreate, FaceAttrRelease), 1);
}

TEST_F(ShortMemory, DetectionCountsMinusOne) {
  Engine engine;
  const Grey image = Noise();
  SetDetectFlagA(engine.detector, 0);
  const int failures = CountFailures([&] {
    FaceEntry entry;
    FaceEntry* faces = &entry;
    int32_t count = 7;
    FaceDetect(engine.detector, image.pixels.data(), image.width, image.height, 1, &faces, &count);
    EXPECT_TRUE(faces == nullptr && (count == 0 || count == -1)) << count;
    return count == 0;
  });
  EXPECT_GT(failures, 10);
}

TEST_F(ShortMemory, AlignmentHasPresenceMinusOne) {
  Engine engine;
  const Grey image = Noise();
  const FaceEntry face = {{5, 5, 35, 5, 5, 35, 35, 35}, 0, 0};
  const std::vector<int32_t> whole = engine.Align(image, face).All();
  const Description nothing = Describe(nullptr, nullptr, image, nullptr);
  const int failures = CountFailures([&] {
    Description d;  // what the test itself needs is made outside of the shortage
    const int left = allowed;
    allowed = -1;
    std::vector<int32_t> scratch(2 * QX_FACE_BLOCK_INTS);
    FaceArgument argument{};
    std::copy(face.corners, face.corners + 8, argument.corners);
    allowed = left;
    FaceAlign(engine.landmarker, image.pixels.data(), image.width, image.height, 1, &argument, &d.presence, &d.roll,
              scratch.data(), d.landmarks.data(), scratch.data(), d.keyPoints.data(), d.block.data(), &d.leftEye,
              &d.rightEye, &d.mouth, nullptr, nullptr, nullptr, &d.info[0], &d.info[1], &d.info[2]);
    allowed = -1;
    if (d.presence != -1) {
      FaceAttr(engine.analyser, image.pixels.data(), image.width, image.height, 1, nullptr, d.block.data(), 0, 0, 0,
               d.attributes.data());
      EXPECT_EQ(d.All(), whole);
      return true;
    }
    EXPECT_EQ(d.info[2], -1);
    d.presence = d.info[2] = 0;
    d.attributes = nothing.attributes;
    EXPECT_EQ(d.All(), nothing.All());
    return false;
  });
  EXPECT_GT(failures, 5);
}

}  // namespace
}  // namespace qx::face
