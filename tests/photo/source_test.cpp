// What the studio says of the photograph itself, and what it refuses when it is to be strict.
#include <gtest/gtest.h>

#include <algorithm>

#include "codec/codec.h"
#include "photo/studio.h"
#include "support/posed_sample.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

const Image& Neutral() {
  static const Image neutral = NeutralSample();
  return neutral;
}

MakeRequest RequestFor(const char* preset, const char* background = "white") {
  MakeRequest request;
  request.document = Derive(FindPreset(preset));
  request.background = ParseBackground(background);
  request.straighten = false;
  return request;
}

MadePhoto Make(Studio& studio, const Image& photograph, const MakeRequest& request, bool pair = false) {
  ImageSource source(photograph);
  return studio.Make(source, {std::nullopt, pair}, request);
}

Names FailedOf(const std::vector<Measure>& measures) {
  Names failed;
  for (const Measure& measure : measures) {
    if (measure.state == MeasureState::kFailed) failed.push_back(measure.id);
  }
  return failed;
}

const Measure* Find(const std::vector<Measure>& measures, const std::string& id) {
  const auto place = std::find_if(measures.begin(), measures.end(), [&id](const Measure& m) { return m.id == id; });
  return place == measures.end() ? nullptr : &*place;
}

void ExpectAmong(const Names& some, const Names& all) {
  for (const std::string& name : some) EXPECT_EQ(1, std::count(all.begin(), all.end(), name)) << name;
}

Image Darker(const Image& picture) {
  Image dark = picture;
  for (uint8_t& byte : dark.bgr) byte = static_cast<uint8_t>(byte / 4);
  return dark;
}

Image WithClosedEyes(const Image& picture) {
  Image closed = picture;
  CloseEyes(&closed);
  return closed;
}

TEST(Source, AGoodPhotographHasNoRemarksWhateverIsMadeOfIt) {
  Studio studio;
  ImageSource source(Neutral());
  Analysis analysis = studio.Analyse(source, {});
  std::vector<Measure> first;
  for (const char* preset : {"schengen-visa", "one-inch", "us-passport"}) {
    SCOPED_TRACE(preset);
    MakeRequest request = RequestFor(preset);
    request.strict = true;
    const MadePhoto made = studio.Render(source, analysis, request);
    ASSERT_EQ(1u, made.source.size());
    EXPECT_EQ(Names(), FailedOf(made.source[0]));
    if (first.empty()) first = made.source[0];
    ASSERT_EQ(first.size(), made.source[0].size());
    for (size_t i = 0; i < first.size(); ++i) {
      if (first[i].id == "InterEyeDistance") continue;
      EXPECT_EQ(first[i].value, made.source[0][i].value) << first[i].id;
    }
  }
  // Small in a large photograph, so that the overview would show little of the face.
  const MadePhoto small = Make(
      studio, Reread(ToVips(Neutral()).embed(2000, 1000, 5000, 4000, vips::VImage::option()->set("extend", "copy"))),
      RequestFor("schengen-visa"));
  EXPECT_EQ(Names(), FailedOf(small.source.at(0)));
  EXPECT_NEAR(*Find(first, "Sharpness")->value, *Find(small.source[0], "Sharpness")->value, 0.04);
}

TEST(Source, DefectsAreSaidOrRefusedWithAllReasons) {
  Studio studio;
  const Image blurred = Reread(ToVips(Neutral()).gaussblur(5));
  const std::pair<Image, Names> cases[] = {
      {Darker(Neutral()), {"UnderExposurePrevention", "EyeWhite"}},
      {blurred, {"Sharpness"}},
      {WithClosedEyes(Neutral()), {"EyesOpen", "EyeOpenness"}},
      {Darker(WithClosedEyes(Neutral())), {"UnderExposurePrevention", "EyesOpen", "EyeOpenness"}},
      {Reread(ToVips(Neutral()).colourspace(VIPS_INTERPRETATION_B_W)), {"ColourPicture"}},
      {codec::ReadImage(QX_SAMPLE_PHOTO), {"InterEyeDistance", "ExpressionNeutrality", "LipGap"}}};
  MakeRequest request = RequestFor("schengen-visa");
  for (const auto& [photograph, ids] : cases) {
    SCOPED_TRACE(ids[0]);
    request.strict = false;
    const MadePhoto made = Make(studio, photograph, request);
    const Names failed = FailedOf(made.source.at(0));
    ExpectAmong(ids, failed);
    std::string reasons;
    for (const std::string& remark : made.remarks) reasons += (reasons.empty() ? "" : "; ") + remark;
    request.strict = true;
    try {
      Make(studio, photograph, request);
      ADD_FAILURE() << "made";
    } catch (const Failure& failure) {
      EXPECT_EQ(FailureCode::kUnsuitable, failure.Code());
      EXPECT_EQ(0u, reasons.find(failure.what())) << reasons << " / " << failure.what();
      Names measures;
      for (const FailureField& field : failure.Fields()) {
        if (field.name == "measure") measures.push_back(field.word);
      }
      EXPECT_EQ(failed, measures);
    }
  }
  // The studio goes on as if nothing had been refused.
  EXPECT_EQ(Make(studio, Neutral(), request).image.bgr, [&] {
    Studio fresh;
    return Make(fresh, Neutral(), request).image.bgr;
  }());
}

TEST(Source, ChildrenPairsAndKeptBackgrounds) {
  Studio studio;
  MakeRequest request = RequestFor("schengen-visa");
  request.persons.child = true;
  const Image sample = Reread(ToVips(codec::ReadImage(QX_SAMPLE_PHOTO)).resize(2.5));
  EXPECT_EQ(Names(), FailedOf(Make(studio, sample, request).source.at(0)));

  const auto half = [](const Image& picture) { return ToVips(picture).extract_area(150, 0, 800, picture.height); };
  const Image two = Reread(half(WithClosedEyes(Neutral())).join(half(Neutral()), VIPS_DIRECTION_HORIZONTAL));
  MakeRequest pair = RequestFor("cn-marriage-certificate");
  pair.relax = true;
  const MadePhoto both = Make(studio, two, pair, true);
  ASSERT_EQ(2u, both.source.size());
  ExpectAmong({"EyesOpen", "EyeOpenness"}, FailedOf(both.source[0]));
  EXPECT_EQ(Names(), FailedOf(both.source[1]));
  const std::string closed = "left person: the eyes look closed";
  EXPECT_TRUE(std::any_of(both.remarks.begin(), both.remarks.end(),
                          [&closed](const std::string& remark) { return Contains(remark, closed); }));
  pair.strict = true;
  EXPECT_TRUE(Contains(FailureOf([&] { Make(studio, two, pair, true); }), closed));

  EXPECT_EQ(nullptr, Find(Make(studio, Neutral(), RequestFor("schengen-visa")).source.at(0), "BackgroundEvenness"));
  const MadePhoto kept = Make(studio, Neutral(), RequestFor("schengen-visa", "keep"));
  ASSERT_NE(nullptr, Find(kept.source.at(0), "BackgroundEvenness"));
  EXPECT_LT(3, Find(kept.source[0], "BackgroundEvenness")->value.value_or(0));
}

}  // namespace
}  // namespace qx::photo
