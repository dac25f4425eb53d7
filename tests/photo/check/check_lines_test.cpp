#include "photo/check/check_lines.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace qx::photo {
namespace {

const CheckLine& Line(const std::vector<CheckLine>& lines, const std::string& name) {
  for (const CheckLine& line : lines) {
    if (line.name == name) return line;
  }
  throw std::out_of_range(name);
}

// Failed lines, by name.
std::string Failed(const std::vector<CheckLine>& lines) {
  std::string names;
  for (const CheckLine& line : lines) {
    if (!line.Passed()) names += (names.empty() ? "" : ", ") + line.name;
  }
  EXPECT_EQ(names.empty(), AllPassed(lines));
  return names;
}

// 35 x 45 mm at 300 dpi with a bound on everything.
Document Bounded() {
  Document document;
  document.width = 413;
  document.height = 531;
  document.dpi = 300;
  document.widthMm = 35;
  document.heightMm = 45;
  document.head = Fraction{32.0 / 45, 36.0 / 45};
  document.top = Fraction{2.0 / 45, 4.0 / 45};
  document.eyes = Fraction{22.0 / 45, 27.0 / 45};
  document.faceWidth = Fraction{14.0 / 35, 22.0 / 35};
  document.minKb = 20;
  document.maxKb = 40;
  return document;
}

TEST(CheckLines, HoldTheFileAgainstTheDocument) {
  const Document document = Bounded();
  Preset print, upload;
  upload.upload = true;
  const FileFacts good{PrintResolution{300, 300}, 30'000};
  EXPECT_EQ("", Failed(FileLines(413, 531, good, print, document)));
  EXPECT_EQ("width, height", Failed(FileLines(412, 532, good, print, document)));
  // A resolution is rounded in many files; none at all is not right for a print.
  for (const auto& [dpi, passes] : {std::pair(299.0, true), std::pair(301.0, true), std::pair(298.9, false)}) {
    EXPECT_EQ(passes ? "" : "resolution",
              Failed(FileLines(413, 531, {PrintResolution{dpi, 300}, 30'000}, print, document)));
  }
  EXPECT_EQ("resolution", Failed(FileLines(413, 531, {std::nullopt, 30'000}, print, document)));
  EXPECT_EQ("", Failed(FileLines(413, 531, {std::nullopt, 30'000}, upload, document)));
  // A ceiling counts 1,000 bytes to the kB, a floor 1,024.
  for (const auto& [bytes, passes] :
       {std::pair(20'479, false), std::pair(20'480, true), std::pair(40'000, true), std::pair(40'001, false)}) {
    EXPECT_EQ(passes ? "" : "file size", Failed(FileLines(413, 531, {std::nullopt, bytes}, upload, document))) << bytes;
  }
  Document free = document;
  free.minKb.reset();
  free.maxKb.reset();
  const CheckLine size = Line(FileLines(413, 531, {std::nullopt, 7}, upload, free), "file size");
  EXPECT_TRUE(size.Passed() && !size.min && !size.max);
  EXPECT_EQ(0.007, size.value);
}

TEST(CheckLines, CountFacesAndSeeHeadsThatLie) {
  Preset one, two;
  two.persons = 2;
  EXPECT_TRUE(FacesLine(1, one).Passed());
  EXPECT_FALSE(FacesLine(0, one).Passed() || FacesLine(2, one).Passed() || FacesLine(1, two).Passed());
  EXPECT_TRUE(RollLine(-45).Passed() && RollLine(44).Passed());
  EXPECT_FALSE(RollLine(46).Passed() || RollLine(-90).Passed() || RollLine(180).Passed());
}

TEST(CheckLines, MeasureInMillimetresWithATolerance) {
  const Document document = Bounded();
  const PhotoMeasures good{34.0 / 45, 3.0 / 45, 24.0 / 45, 18.0 / 35};
  const std::vector<CheckLine> lines = MeasureLines(good, document);
  EXPECT_EQ("", Failed(lines));
  EXPECT_NEAR(34, Line(lines, "head").value, 1e-9);
  EXPECT_NEAR(3, Line(lines, "space above").value, 1e-9);
  EXPECT_NEAR(24, Line(lines, "eyes").value, 1e-9);
  EXPECT_NEAR(18, Line(lines, "face width").value, 1e-9);  // of the width
  EXPECT_NEAR(32, *Line(lines, "head").min, 1e-9);
  EXPECT_NEAR(22, *Line(lines, "face width").max, 1e-9);
  // Half a percent of the height is 0.225 mm, of the width 0.175.
  const auto fails = [&](double PhotoMeasures::*measure, double value) {
    PhotoMeasures measures = good;
    measures.*measure = value;
    return Failed(MeasureLines(measures, document));
  };
  EXPECT_EQ("", fails(&PhotoMeasures::head, 31.78 / 45));
  EXPECT_EQ("head", fails(&PhotoMeasures::head, 31.77 / 45));
  EXPECT_EQ("head", fails(&PhotoMeasures::head, 36.23 / 45));
  EXPECT_EQ("space above", fails(&PhotoMeasures::top, 1.77 / 45));
  EXPECT_EQ("eyes", fails(&PhotoMeasures::eyes, 27.23 / 45));
  EXPECT_EQ("", fails(&PhotoMeasures::faceWidth, 22.17 / 35));
  EXPECT_EQ("face width", fails(&PhotoMeasures::faceWidth, 22.18 / 35));

  // Hair that stands above the crown counts where the document says so, and may take of the space above.
  PhotoMeasures hairy = good;
  hairy.headWithHair = 37.5 / 45;
  hairy.top = 1.0 / 45;
  const std::vector<CheckLine> crown = MeasureLines(hairy, document);
  EXPECT_EQ("", Failed(crown));
  EXPECT_NEAR(34, Line(crown, "head").value, 1e-9);
  EXPECT_NEAR(37.5, Line(crown, "head with hair").value, 1e-9);
  EXPECT_NEAR(0.45, *Line(crown, "space above").min, 1e-9);
  Document counting = document;
  counting.headTo = HeadTo::kHair;
  const std::vector<CheckLine> hair = MeasureLines(hairy, counting);
  EXPECT_EQ("head, space above", Failed(hair));
  EXPECT_NEAR(37.5, Line(hair, "head").value, 1e-9);
  EXPECT_NEAR(34, Line(hair, "head to crown").value, 1e-9);
  hairy.top = -0.3 / 45;  // beyond the edge
  EXPECT_EQ("space above", Failed(MeasureLines(hairy, document)));

  Document open = document;
  open.head = open.top = open.eyes = open.faceWidth = std::nullopt;
  for (const CheckLine& line : MeasureLines({0, -1, 2, 0}, open)) {
    EXPECT_TRUE(line.Passed() && !line.min && !line.max) << line.name;
  }
}

TEST(CheckLines, ScoresHaveALeast) {
  QualityScores least{};
  least.tilt = kLeastTilt;
  least.brightness = kLeastBrightness;
  least.symmetry = kLeastSymmetry;
  least.background = kLeastBackground;
  EXPECT_EQ("", Failed(ScoreLines(least)));
  for (const auto& [score, name] : {std::pair(&QualityScores::tilt, "tilt"),
                                    {&QualityScores::brightness, "brightness"},
                                    {&QualityScores::symmetry, "symmetry"},
                                    {&QualityScores::background, "background"}}) {
    QualityScores scores = least;
    --(scores.*score);
    EXPECT_EQ(name, Failed(ScoreLines(scores)));
    scores.*score = 100;
    EXPECT_EQ("", Failed(ScoreLines(scores)));
  }
}

}  // namespace
}  // namespace qx::photo
