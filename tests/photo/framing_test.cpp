// Where the studio puts a real photograph's head: straightened, moved, scaled and turned.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "photo/sample_studio.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Straighten, HeadsThatLeanStandStraight) {
  Studio studio;
  FaceFinder finder;
  const double own = LeanOf(finder, Sample());
  bool cut = false;
  for (const char* preset : {"schengen-visa", "us-passport", "one-inch"}) {
    for (const double angle : {-27.0, -20.0, -11.5, -5.0, -2.3, 0.0, 6.0, 14.0, 20.5}) {
      SCOPED_TRACE(std::string(preset) + " " + std::to_string(angle) + (cut ? " cut" : ""));
      const Image photograph = Turned(angle, cut);
      const MadePhoto made = Make(studio, photograph, RequestFor(preset));
      EXPECT_NEAR(own + angle, made.lean, 1);
      EXPECT_EQ(made.lean, made.straightened);
      EXPECT_TRUE(HasRemark(made, "straightened"));
      EXPECT_GT(0.6, std::abs(LeanOf(finder, made.image)));
      EXPECT_TRUE(made.givenUp.empty());
      cut = !cut;
    }
  }
}

TEST(Straighten, LeavesWhatItShould) {
  Studio studio;
  FaceFinder finder;
  const auto expectLeft = [&](const Image& photograph, const MakeRequest& request) {
    const MadePhoto made = Make(studio, photograph, request);
    EXPECT_EQ(0, made.straightened);
    EXPECT_FALSE(HasRemark(made, "straightened"));
    EXPECT_NEAR(made.lean, LeanOf(finder, made.image), 0.6);
    EXPECT_EQ(std::abs(made.lean) > 5, HasRemark(made, "the head leans") || HasRemark(made, "lean your head"));
  };
  const double own = LeanOf(finder, Sample());
  const MakeRequest request = RequestFor("schengen-visa");
  expectLeft(Turned(26.5 - own, false), request);
  expectLeft(Turned(-26.5 - own, false), request);
  expectLeft(Turned(-own, false), request);  // straight as it is
  MakeRequest asItIs = request;
  asItIs.straighten = false;
  expectLeft(Turned(9, false), asItIs);
  // With its own background only where the turned frame stays inside the photograph.
  const MakeRequest kept = RequestFor("cn-visa", "keep");
  const MadePhoto inside = Make(studio, Turned(9, false), kept);
  EXPECT_EQ(inside.lean, inside.straightened);
  EXPECT_GT(0.6, std::abs(LeanOf(finder, inside.image)));
  const FaceBox face = finder.Find(Sample()).at(0).Box();
  const int left = static_cast<int>(face.left - 0.75 * face.Width()), width = static_cast<int>(2.5 * face.Width());
  MakeRequest close = kept;
  close.relax = true;
  close.document.headTo = HeadTo::kHair;  // the smaller head leaves no room
  expectLeft(Reread(ToVips(Sample()).extract_area(left, 0, width, Sample().height)), close);
}

// Each against the same analysis as placed.
struct Framed {
  explicit Framed(const char* preset, const char* background = "white")
      : source(Sample()), analysis(studio.Analyse(source, {})), request(RequestFor(preset, background)) {}

  MadePhoto With(const Framing& framing, bool relax = true) {
    request.framing = framing;
    request.relax = relax;
    return studio.Render(source, analysis, request);
  }

  Studio studio;
  ImageSource source;
  Analysis analysis;
  MakeRequest request;
};

TEST(Framing, MovesAndScalesWhatIsMeasuredAndWhatIsSeen) {
  Framed sample("schengen-visa");
  const MadePhoto plain = sample.With({});
  const auto seen = [](const MadePhoto& made) {
    const ProbedFace face = FaceFinder().Find(made.image).at(0);
    const FacePlaces places = PlacesOf(face, {}, 1, 1, Turn());
    return std::array<double, 3>{(places.eyes[0].x + places.eyes[1].x) / 2, (places.eyes[0].y + places.eyes[1].y) / 2,
                                 face.Width()};
  };
  const auto before = seen(plain);
  const double width = plain.image.width, height = plain.image.height;

  sample.request.document.top = Fraction{plain.measures.top - 0.05, plain.measures.top + 0.05};
  const MadePhoto moved = sample.With({100, 8, 10, 0});
  EXPECT_NEAR(plain.measures.eyes - 0.1, moved.measures.eyes, 0.004);
  EXPECT_NEAR(plain.measures.top + 0.1, moved.measures.top, 0.004);
  EXPECT_NEAR(plain.measures.head, moved.measures.head, 0.004);
  EXPECT_NEAR(before[0] + 0.08 * width, seen(moved)[0], 2);
  EXPECT_NEAR(before[1] + 0.10 * height, seen(moved)[1], 2);
  EXPECT_FALSE(moved.givenUp.empty());
  EXPECT_TRUE(HasRemark(moved, "given up: space above"));

  sample.request.document.top.reset();
  for (const double zoom : {92.0, 108.0}) {
    const MadePhoto scaled = sample.With({zoom, 0, 0, 0});
    EXPECT_NEAR(plain.measures.head * zoom / 100, scaled.measures.head, 0.005) << zoom;
    EXPECT_NEAR(before[2] * zoom / 100, seen(scaled)[2], 0.03 * before[2]) << zoom;
    EXPECT_NEAR(plain.enlargement * zoom / 100, scaled.enlargement, 0.01 * plain.enlargement);
    // About the picture's middle.
    EXPECT_NEAR((before[1] - height / 2) * zoom / 100, seen(scaled)[1] - height / 2, 2) << zoom;
  }
}

TEST(Framing, TurnsBeyondTheStraightening) {
  FaceFinder finder;
  Framed sample("one-inch");
  for (const bool straighten : {true, false}) {
    sample.request.straighten = straighten;
    for (const double degrees : {-14.0, 5.5}) {
      const MadePhoto made = sample.With({100, 0, 0, degrees});
      const double lean = degrees + (straighten ? 0 : made.lean);
      EXPECT_NEAR(lean, LeanOf(finder, made.image), 0.8) << straighten;
      EXPECT_EQ(straighten, made.straightened != 0);
      EXPECT_TRUE(HasRemark(made, "the head leans ")) << degrees;
      EXPECT_EQ(std::abs(lean) > 9, HasRemark(made, "as it was turned")) << lean;
    }
  }
}

TEST(Framing, IsRefusedBeyondTheBoundsWithTheAmount) {
  Framed sample("schengen-visa");
  const MadePhoto plain = sample.With({}, false);
  const auto refusal = [&](const Framing& framing) {
    try {
      sample.With(framing, sample.request.relax);
    } catch (const Failure& failure) {
      return failure;
    }
    return Failure(FailureCode::kEngine, "taken");
  };
  for (const double zoom : {108.0, 125.0}) {  // with more the head is not whole, and nothing helps
    const Failure failure = refusal({zoom, 0, 0, 0});
    const FailureFields& fields = failure.Fields();
    const auto offered = [](const FailureField& field) { return field.name == "nearest"; };
    EXPECT_EQ(zoom < 120, std::any_of(fields.begin(), fields.end(), offered)) << failure.what();
  }
  const Failure large = refusal({108, 0, 0, 0});
  EXPECT_EQ(FailureCode::kNoFit, large.Code());
  EXPECT_EQ("head", large.Word("bound"));
  EXPECT_TRUE(Contains(large.what(), "head to the crown 8")) << large.what();
  for (const FailureField& field : large.Fields()) {
    if (field.name == "got") {
      EXPECT_NEAR(1.08 * plain.measures.head, field.number, 0.01);
      break;
    }
  }
  // Within them it is taken, and nothing is given up.
  EXPECT_TRUE(sample.With({101, 4, 0.5, 0}, false).givenUp.empty());
  // Where the photograph ends, nothing helps.
  sample.request.relax = true;
  for (const Framing& far : {Framing{70, 0, -30, 0}, Framing{150, 30, 30, 0}, Framing{150, -30, -30, 15}}) {
    const Failure hindered = refusal(far);
    EXPECT_EQ(FailureCode::kNoFit, hindered.Code()) << hindered.what();
    EXPECT_EQ("", hindered.Word("bound"));
  }
  for (const Framing& wrong :
       {Framing{69, 0, 0, 0}, Framing{100, -31, 0, 0}, Framing{100, 0, std::nan(""), 0}, Framing{100, 0, 0, 15.5}}) {
    EXPECT_EQ(FailureCode::kBadOption, refusal(wrong).Code());
  }
  const Preset& strict = FindPreset("sg-passport");
  CheckFraming(strict, {110, 2, 2, 0}, false);
  CheckFraming(strict, {100, 0, 0, 1}, true);
  EXPECT_THROW(CheckFraming(strict, {100, 0, 0, 1}, false), Failure);
}

TEST(Framing, IsSafeWhereFacesTouchThePhotographsEdge) {
  Studio studio;
  const FaceBox box = studio.Inspect(Sample()).at(0).Box();
  const int left = static_cast<int>(box.left), right = static_cast<int>(box.right), top = static_cast<int>(box.top),
            bottom = static_cast<int>(box.bottom), width = Sample().width, height = Sample().height;
  const PixelBox cuts[] = {
      {left, 0, width, height}, {0, 0, right, height}, {0, top, width, height}, {0, 0, width, bottom + 5}};
  const Framing framings[] = {{70, 30, -30, 15}, {150, -30, 30, -15}, {110, 10, 5, 15}, {104, -4, 0, -2}};
  int made = 0;
  for (const PixelBox& cut : cuts) {
    const vips::VImage part = ToVips(Sample()).extract_area(cut.left, cut.top, cut.Width(), cut.Height());
    ImageSource source(Reread(part));
    Analysis analysis = studio.Analyse(source, {});
    for (const Framing& framing : framings) {
      MakeRequest request = RequestFor("one-inch", made % 2 == 0 ? "white" : "transparent");
      request.relax = true;
      request.framing = framing;
      try {
        EXPECT_EQ(request.document.width, studio.Render(source, analysis, request).image.width);
        ++made;
      } catch (const Failure& failure) {
        EXPECT_EQ(FailureCode::kNoFit, failure.Code()) << failure.what();
      }
    }
  }
  EXPECT_LT(0, made);
}

TEST(Framing, GoesWithEveryBackgroundAndBesideItsComparison) {
  for (const char* background : {"keep", "transparent", "gradient:#fff-#408"}) {
    Framed sample("one-inch", background);
    sample.request.compare = true;
    sample.request.adjustment.brightness = 4;
    const Framing framing{110, -3, 2, 3};
    const MadePhoto made = sample.With(framing);
    sample.request.adjustment = {};
    sample.request.compare = false;
    const MadePhoto plain = sample.With(framing);
    EXPECT_EQ(plain.image.bgr, made.before->bgr) << background;
    EXPECT_NE(plain.image.bgr, sample.With({}).image.bgr);
    EXPECT_EQ(plain.image.bgr, sample.With(framing).image.bgr);
  }
}

TEST(Studio, PairsAreNotTurned) {
  Studio studio;
  const Image turned = Turned(4, true);
  const vips::VImage one = ToVips(turned).extract_area(60, 0, 320, turned.height);
  ImageSource source(Reread(one.join(one, VIPS_DIRECTION_HORIZONTAL)));
  AnalyseRequest faces;
  faces.pair = true;
  MakeRequest request = RequestFor("cn-marriage-certificate", "#d9001b");
  request.relax = true;
  const MadePhoto made = studio.Make(source, faces, request);
  EXPECT_EQ(0, made.straightened);
  EXPECT_LT(5, made.lean);
  EXPECT_FALSE(HasRemark(made, "lean"));
  Analysis analysis = studio.Analyse(source, faces);
  request.framing = {110, 0, 4, 0};
  const MadePhoto moved = studio.Render(source, analysis, request);
  EXPECT_NEAR(1.1 * made.measures.head, moved.measures.head, 0.005);
  EXPECT_TRUE(moved.givenUp.empty());
  request.framing = {110, 0, 4, -4};
  EXPECT_NE(moved.image.bgr, studio.Render(source, analysis, request).image.bgr);
  request.framing = {150, 30, 0, 0};
  EXPECT_THROW(studio.Render(source, analysis, request), Failure);
}

}  // namespace
}  // namespace qx::photo
