// The studio on a real photograph: repeated renderings, masks, hair, odd input.
#include "photo/studio.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "photo/face/upright.h"
#include "photo/person/mask.h"
#include "photo/sample_studio.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Studio, AFaceIsFoundWhereATurnedPhotographShowsIt) {
  Studio studio;
  FaceFinder finder;
  for (int turns = 0; turns < 4; ++turns) {
    const UprightPhotograph upright = MakeUpright(finder, TurnClockwise(Sample(), turns), {});
    EXPECT_EQ((4 - turns) % 4, upright.quarterTurns);
    EXPECT_EQ(Sample().bgr, upright.image.bgr);
    const ProbedFace &turned = upright.faces.at(0), again = finder.Find(upright.image).at(0);
    for (size_t i = 0; i < again.densePoints.size(); ++i) {
      EXPECT_NEAR(again.densePoints[i].x, turned.densePoints[i].x, 2) << turns << " " << i;
      EXPECT_NEAR(again.densePoints[i].y, turned.densePoints[i].y, 2) << turns << " " << i;
    }
    EXPECT_NEAR(again.Roll(), turned.Roll(), 0.5);
    EXPECT_NEAR(again.Width(), turned.Width(), 2);
  }
}

TEST(Studio, RefusesMasksOfAnotherSize) {
  Studio studio;
  MakeRequest request = RequestFor("one-inch");
  request.relax = true;
  const auto codeWith = [&](const Image& photograph, const Mask& mask) {
    try {
      Make(studio, photograph, request, &mask);
    } catch (const Failure& failure) {
      return failure.Code();
    }
    return FailureCode::kEngine;
  };
  const int width = Sample().width, height = Sample().height;
  for (const auto& [w, h] :
       {std::pair{width, height - 1}, {width + 1, height}, {2 * width, 2 * height}, {1, 1}, {0, 0}}) {
    EXPECT_EQ(FailureCode::kBadMask, codeWith(Sample(), Mask(w, h, 255))) << w;
  }
  // A photograph on its side: the mask lies as the photograph does.
  const Image lying = TurnClockwise(Reread(ToVips(Sample()).extract_area(0, 0, width, height - 50)), 1);
  EXPECT_EQ(FailureCode::kBadMask, codeWith(lying, Mask(width, height - 50, 255)));
  const Mask everything(lying.width, lying.height, 255);
  EXPECT_EQ(request.document.width, Make(studio, lying, request, &everything).image.width);
  EXPECT_EQ(FailureCode::kNoPerson, codeWith(Sample(), Mask(width, height, 0)));
}

bool Same(const MadePhoto& a, const MadePhoto& b) {
  return a.image.bgr == b.image.bgr && a.remarks == b.remarks && a.lean == b.lean && a.straightened == b.straightened &&
         a.measures.head == b.measures.head && a.measures.top == b.measures.top &&
         a.before.has_value() == b.before.has_value() && (!a.before || a.before->bgr == b.before->bgr);
}

TEST(Studio, RendersTheSameOfOneAnalysisAsOfMany) {
  Studio studio;
  std::vector<MakeRequest> requests{RequestFor("schengen-visa"), RequestFor("schengen-visa", "gradient:#fff-#408"),
                                    RequestFor("us-passport"),   RequestFor("one-inch", "keep"),
                                    RequestFor("schengen-visa"), RequestFor("de-passport", "#d9d9d9")};
  requests[2].straighten = false;
  requests[3].relax = true;
  requests[4].retouch = NamedRetouch("strong");
  requests[4].compare = true;
  requests.push_back(requests[0]);
  const Image photograph = TurnClockwise(Sample(), 3);
  ImageSource source(photograph);
  Analysis analysis = studio.Analyse(source, {});
  EXPECT_EQ(1, analysis.QuarterTurns());
  EXPECT_EQ(1u, analysis.FacesFound());
  for (size_t i = 0; i < requests.size(); ++i) {
    const MadePhoto again = studio.Render(source, analysis, requests[i]);
    Studio fresh;
    EXPECT_TRUE(Same(Make(fresh, photograph, requests[i]), again)) << i;
    EXPECT_NEAR(analysis.LeanDegrees(), again.lean, 1);
  }
  // A request that fails leaves everything as it was.
  MakeRequest impossible = requests[0];
  impossible.document.head = impossible.document.top = Fraction{0.9, 0.95};
  EXPECT_THROW(studio.Render(source, analysis, impossible), Failure);
  EXPECT_TRUE(Same(Make(studio, photograph, requests[1]), studio.Render(source, analysis, requests[1])));
}

// Counts the parts that are asked for.
class CountingSource final : public PhotoSource {
 public:
  explicit CountingSource(Image image) : source_(std::move(image)) {}
  int32_t Width() override { return source_.Width(); }
  int32_t Height() override { return source_.Height(); }
  Image Overview(int64_t leastPixels) override { return source_.Overview(leastPixels); }
  Image Part(const PixelBox& box, int32_t width, int32_t height) override {
    ++parts;
    return source_.Part(box, width, height);
  }

  int parts = 0;

 private:
  ImageSource source_;
};

TEST(Studio, DraftsReadLittleAreNearAndLeaveNothingBehind) {
  const Image photograph = Reread(ToVips(Sample()).resize(4));
  Studio studio;
  CountingSource source(photograph);
  Analysis analysis = studio.Analyse(source, {});
  MakeRequest request = RequestFor("schengen-visa");
  request.relax = true;
  int read = 0;
  for (const double percent : {0.0, 1.0, 2.0, 3.0, 4.0, 5.0}) {
    request.framing = {100 + percent / 2, percent, percent, 0};
    const MadePhoto exact = Make(studio, photograph, request);
    request.draft = true;
    const int before = source.parts;
    const MadePhoto draft = studio.Render(source, analysis, request);
    read += source.parts - before;
    request.draft = false;
    ASSERT_EQ(exact.image.bgr.size(), draft.image.bgr.size());
    double sum = 0;
    for (size_t i = 0; i < exact.image.bgr.size(); ++i) sum += std::abs(exact.image.bgr[i] - draft.image.bgr[i]);
    // The measures waver by a pixel or two with what they are taken from.
    EXPECT_LT(sum / static_cast<double>(exact.image.bgr.size()), 6) << percent;
    EXPECT_NEAR(exact.measures.head, draft.measures.head, 0.006) << percent;
    EXPECT_NEAR(exact.measures.eyes, draft.measures.eyes, 0.006) << percent;
  }
  EXPECT_LE(read, 2);
  EXPECT_TRUE(Same(Make(studio, photograph, request), studio.Render(source, analysis, request)));
}

TEST(Studio, TellsWhereFacesAreInTheUprightPhotograph) {
  // More pixels than faces are looked for in, and not as wide as high.
  constexpr int kScale = 5;
  const Image small = Reread(ToVips(Sample()).extract_area(0, 0, 512, 420));
  const Image large = Reread(ToVips(small).resize(kScale));
  FaceFinder finder;
  const ProbedFace wanted = finder.Find(small).at(0);
  Studio studio;
  for (const int turns : {0, 1, 2}) {
    ImageSource source(TurnClockwise(large, turns));
    const Analysis analysis = studio.Analyse(source, {});
    EXPECT_EQ(large.width, analysis.Width()) << turns;
    EXPECT_EQ(large.height, analysis.Height()) << turns;
    const std::vector<AnalysedFace> faces = analysis.Faces();
    ASSERT_EQ(1u, faces.size()) << turns;
    EXPECT_TRUE(faces[0].score > 0.5 && faces[0].score <= 1) << faces[0].score;
    for (size_t i = 0; i < wanted.corners.size(); ++i) {
      EXPECT_NEAR(kScale * wanted.corners[i].x, faces[0].corners[i].x, kScale * wanted.Width() / 15) << turns << i;
      EXPECT_NEAR(kScale * wanted.corners[i].y, faces[0].corners[i].y, kScale * wanted.Width() / 15) << turns << i;
    }
  }
}

TEST(Studio, AdjustsThePersonAndNoNewBackground) {
  Studio studio;
  ImageSource source(Sample());
  Analysis analysis = studio.Analyse(source, {});
  for (const char* background : {"lightblue", "gradient:#204080-#e0f0ff", "transparent", "keep"}) {
    MakeRequest request = RequestFor("schengen-visa", background);
    request.relax = true;
    const MadePhoto plain = studio.Render(source, analysis, request);
    request.adjustment = {3, 2, 3, 4, -2, 4, true};
    request.compare = true;
    const MadePhoto made = studio.Render(source, analysis, request);
    EXPECT_EQ(plain.image.bgr, made.before->bgr) << background;
    EXPECT_EQ(plain.alpha.values, made.alpha.values) << background;
    EXPECT_TRUE(HasRemark(made, "white balance")) << background;
    const bool keep = request.background.IsKeep(), transparent = request.background.IsTransparent();
    const int32_t height = request.document.height;
    size_t behind = 0, changed = 0;
    for (int32_t y = 0; y < height; ++y) {
      const Colour colour = transparent ? Colour{0, 0, 0} : RowColour(request.background, y, height);
      for (int32_t x = 0; x < request.document.width; ++x) {
        const uint8_t *before = plain.image.At(x, y), *after = made.image.At(x, y);
        const bool same = std::equal(before, before + 3, after);
        changed += same ? 0 : 1;
        if (keep || before[0] != colour.blue || before[1] != colour.green || before[2] != colour.red) continue;
        ++behind;
        EXPECT_TRUE(same) << background << " at " << x << " " << y;
      }
    }
    EXPECT_GE(behind, keep ? 0 : made.image.Pixels() / 10) << background;
    EXPECT_GT(changed, made.image.Pixels() / 5) << background;
  }
  MakeRequest wrong = RequestFor("schengen-visa");
  wrong.adjustment.tint = 11;
  EXPECT_THROW(studio.Render(source, analysis, wrong), Failure);
}

// The sample's person with black hair before a wall of one colour, with the noise of a camera.
Image BeforeWall(const std::array<int, 3>& wall) {
  const FaceBox face = FaceFinder().Find(Sample()).at(0).Box();
  const Mask mask = PersonSegmenter().Segment(Sample(), {face});
  Image picture = Sample();
  uint32_t random = 1;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const double across = (x - (face.left + face.right) / 2) / face.Width();
      const double down = (y - (face.top + face.bottom) / 2) / face.Width();
      const bool hair = down < 0.5 && std::hypot(across / 0.42, down / 0.55) > 1;
      const int share = mask.Row(y)[x];
      for (size_t c = 0; c < 3; ++c) {
        random = random * 1664525 + 1013904223;
        const int behind = wall[c] + static_cast<int>(random >> 30) - 2;
        uint8_t* to = picture.At(x, y) + c;
        const int person = hair ? 25 + *to / 12 : *to;
        *to = static_cast<uint8_t>((share * person + (255 - share) * behind) / 255);
      }
    }
  }
  return picture;
}

TEST(Studio, SaysWhereHairAndWallAreAlike) {
  Studio studio;
  const Image alike = BeforeWall({33, 34, 35}), contrasting = BeforeWall({190, 200, 210});
  const char* const remark = "hair and background have the same colour above and on the left and on the right";
  EXPECT_TRUE(HasRemark(Make(studio, alike, RequestFor("schengen-visa")), remark));
  EXPECT_FALSE(HasRemark(Make(studio, alike, RequestFor("schengen-visa", "keep")), "hair"));
  EXPECT_FALSE(HasRemark(Make(studio, contrasting, RequestFor("schengen-visa")), "hair and"));
}

// The sample's hair stands up.
TEST(Studio, MeasuresTheHeadToItsCrown) {
  Studio studio;
  MakeRequest request = RequestFor("schengen-visa");
  const MadePhoto crown = Make(studio, Sample(), request);
  EXPECT_TRUE(HasRemark(crown, "above the crown; the head is measured to the crown"));
  EXPECT_FALSE(HasRemark(crown, "the space above is"));
  request.document.headTo = HeadTo::kHair;
  const MadePhoto hair = Make(studio, Sample(), request);
  EXPECT_FALSE(HasRemark(hair, "above the crown"));
  EXPECT_NEAR(crown.measures.head, hair.measures.headWithHair, 0.02);
  EXPECT_GT(crown.measures.headWithHair, 1.05 * crown.measures.head);
  EXPECT_GT(crown.measures.faceWidth, 1.05 * hair.measures.faceWidth);
  request.document.headTo = HeadTo::kCrown;
  request.document.head = Fraction{35.0 / 45, 36.0 / 45};
  request.document.top = Fraction{5.0 / 45, 8.0 / 45};
  request.document.eyes = Fraction{22.0 / 45, 26.0 / 45};
  const MadePhoto tight = Make(studio, Sample(), request);
  EXPECT_TRUE(HasRemark(tight, "the space above is")) << tight.measures.top * 45;
  EXPECT_TRUE(tight.givenUp.empty());
}

double MeanDifference(const Image& a, const Image& b) {
  double sum = 0;
  for (size_t i = 0; i < a.bgr.size(); ++i) sum += std::abs(a.bgr[i] - b.bgr[i]);
  return sum / static_cast<double>(a.bgr.size());
}

TEST(Studio, FilesGiveWhatTheirPixelsGive) {
  Studio studio;
  const TestFolder folder;
  // So large that the file is read at a reduced size and in parts.
  ToVips(Sample()).resize(4).write_to_file((folder / "a.jpg").c_str(), vips::VImage::option()->set("Q", 95));
  codec::FileSource file(folder / "a.jpg");
  ImageSource pixels(codec::ReadImage(folder / "a.jpg"));
  for (const char* background : {"white", "keep"}) {
    const MakeRequest request = RequestFor("schengen-visa", background);
    const MadePhoto one = studio.Make(file, {}, request), other = studio.Make(pixels, {}, request);
    EXPECT_GT(2.5, MeanDifference(one.image, other.image)) << background;
    EXPECT_EQ(one.image.bgr, studio.Make(file, {}, request).image.bgr) << background;  // the same file again
    EXPECT_NEAR(one.lean, other.lean, 0.3);
    EXPECT_NEAR(one.measures.head, other.measures.head, 0.005);
    EXPECT_NEAR(one.enlargement, other.enlargement, 0.01 * other.enlargement);
  }
}

TEST(Studio, OddPhotographsGiveAPictureOrAFailure) {
  Studio studio;
  const vips::VImage sample = ToVips(Sample());
  const ProbedFace face = studio.Inspect(Sample()).at(0);
  const FaceBox box = face.Box();
  const int left = static_cast<int>(box.left), top = static_cast<int>(box.top), size = static_cast<int>(box.Width());
  const auto cut = [&](int x, int y, int right, int bottom) {
    return Reread(sample.extract_area(x, y, right - x, bottom - y));
  };
  std::vector<Image> photographs{GradientImage(1, 1), GradientImage(1, 5000), GradientImage(5000, 1),
                                 GradientImage(300, 2)};
  photographs.push_back(cut(left, 0, Sample().width, Sample().height));  // faces at the borders
  photographs.push_back(cut(0, 0, left + size, Sample().height));
  photographs.push_back(cut(0, top, Sample().width, Sample().height));
  photographs.push_back(cut(0, 0, Sample().width, top + size));
  photographs.push_back(cut(left, top, left + size, top + size));
  photographs.push_back(cut(left + size / 3, 0, Sample().width, Sample().height));
  photographs.push_back(Reread(sample.colourspace(VIPS_INTERPRETATION_B_W)));
  photographs.push_back(Reread(sample.resize(0.25)));
  photographs.push_back(Reread(sample.resize(4, vips::VImage::option()->set("vscale", 3.0))));
  int made = 0;
  for (const Image& photograph : photographs) {
    for (const char* background : {"white", "keep"}) {
      MakeRequest request = RequestFor("schengen-visa", background);
      request.relax = true;
      request.retouch = NamedRetouch("natural");
      const Mask everything(photograph.width, photograph.height, 255);
      for (const Mask* mask : {static_cast<const Mask*>(nullptr), &everything}) {
        try {
          const Image image = Make(studio, photograph, request, mask).image;
          EXPECT_EQ(size_t{3} * 413 * 531, image.bgr.size());
          ++made;
        } catch (const Failure& failure) {
          EXPECT_STRNE("", failure.what());
        }
      }
    }
  }
  EXPECT_LT(10, made);
  EXPECT_EQ(FailureCode::kNoFace, [&] {
    try {
      Make(studio, photographs[1], RequestFor("one-inch"));
    } catch (const Failure& failure) {
      return failure.Code();
    }
    return FailureCode::kEngine;
  }());
}

}  // namespace
}  // namespace qx::photo
