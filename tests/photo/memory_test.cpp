// Memory is short from the n-th request of C++ on, for many n: the studio says so and works on when memory is back, and
// so does what follows hair.
#include <gtest/gtest.h>

#include <cstdlib>

#include "codec/codec.h"
#include "codec/library.h"
#include "photo/person/hair.h"
#include "photo/studio.h"
#include "support/failing_new.h"
#include "support/painted_head.h"

// Requests that still succeed; negative: all do. Small ones always do: a failure needs a text. The other threads of
// libvips ask for nothing meanwhile.
static long allowed = -1;

static bool MayAllocate(size_t size) {
  if (size < 1024) return true;
  if (allowed > 0) --allowed;
  return allowed != 0;
}

namespace qx::photo {
namespace {

// The code of the failure of a call for which memory is short from that request on; nothing when it succeeds.
template <typename Call>
std::optional<FailureCode> CodeWhenShort(long requests, Call call) {
  std::optional<FailureCode> code;
  allowed = requests;
  try {
    call();
  } catch (const Failure& failure) {
    allowed = -1;
    code = failure.Code();
  }
  allowed = -1;
  return code;
}

TEST(StudioMemory, EveryShortageIsTold) {
  const codec::ImageLibrary images;
  codec::StartLibrary();
  ImageSource source(codec::ReadImage(QX_SAMPLE_PHOTO));
  MakeRequest request;
  request.document = Derive(FindPreset("schengen-visa"));
  request.background = ParseBackground("white");
  Studio studio;
  const Bytes whole = studio.Make(source, {}, request).image.bgr;
  int shortages = 0, successes = 0;
  for (long requests = 1; successes == 0; requests += 1 + requests / 8) {
    ASSERT_GT(1'000'000, requests);
    MadePhoto made;
    const auto code = CodeWhenShort(requests, [&] { made = studio.Make(source, {}, request); });
    if (code) {
      EXPECT_EQ(FailureCode::kOutOfMemory, *code) << requests << " " << static_cast<int>(*code);
      ++shortages;
    } else {
      EXPECT_EQ(whole, made.image.bgr) << requests;
      ++successes;
    }
  }
  EXPECT_LT(20, shortages);
  EXPECT_EQ(whole, studio.Make(source, {}, request).image.bgr);

  Analysis analysis = studio.Analyse(source, {});
  const auto render = [&] { studio.Render(source, analysis, request); };
  for (long requests = 1; CodeWhenShort(requests, render); requests += 1 + requests / 4) {
  }
  EXPECT_EQ(whole, studio.Render(source, analysis, request).image.bgr);
  request.background = ParseBackground("transparent");
  for (long requests = 1; CodeWhenShort(requests, render); requests += 1 + requests / 4) {
  }
  CutOut cutOut;
  const auto takeOut = [&] { cutOut = studio.CutOut(source, {}); };
  int tries = 1;
  for (long requests = 1; const auto code = CodeWhenShort(requests, takeOut); requests += 1 + requests / 4, ++tries) {
    EXPECT_EQ(FailureCode::kOutOfMemory, *code) << requests;
  }
  EXPECT_LT(10, tries);
  EXPECT_TRUE(cutOut.mask.IsOf(cutOut.colours));
  for (const long requests : {1, 5, 20}) {
    EXPECT_EQ(FailureCode::kOutOfMemory, CodeWhenShort(requests, [&] { studio.Analyse(source, {}); }));
  }
}

// Each single request: hair asks for few, and for large ones.
TEST(HairMemory, EveryShortageIsTold) {
  const test::PaintedHead head(test::PlainWall, 40);
  PersonMap map = head.Map();
  const auto follow = [&] { return FollowHair(map, head.picture, head.Whole(), {head.face}); };
  map.hair = follow();
  ASSERT_TRUE(map.hair);
  const Mask whole = RefineMask(map, head.picture, head.Whole());
  map.hair.reset();
  long requests = 0;
  for (bool isShort = true; isShort;) {
    ASSERT_GT(10'000, ++requests);
    isShort = false;
    allowed = requests;
    try {
      map.hair = follow();
      const Mask mask = RefineMask(map, head.picture, head.Whole());
      allowed = -1;
      EXPECT_EQ(whole.values, mask.values);
    } catch (const std::bad_alloc&) {
      isShort = true;
    }
    allowed = -1;
    map.hair.reset();
  }
  EXPECT_LT(30, requests);
}

}  // namespace
}  // namespace qx::photo
