// Whole results of the exports on synthetic photographs, by their digests. Every variant of the row loops gives the
// same bytes, and so does a C library without its FMA variants: the test list runs this test again without them.
#include <gtest/gtest.h>

#include "kernels/kernels.h"
#include "src/beauty/skin_fixture.h"
#include "src/scripted_engine.h"
#include "support/stored_results.h"

namespace qx::test {
namespace {

// A photograph of painted faces and what the engine finds in it.
struct Portrait {
  explicit Portrait(const PaintedFace& face) : photo(face.image.width, face.image.height) {
    photo.pixels = face.image.bytes;
    AddFace(face);
  }
  void AddFace(const PaintedFace& face) {
    ScriptedFace f;
    for (int i = 0; i < 4; ++i) {
      f.corners[2 * i] = face.set.FaceBox()[i].x;
      f.corners[2 * i + 1] = face.set.FaceBox()[i].y;
    }
    f.keyPoints[kLeftEyeCentre] = face.set.Eyes()[0];
    f.keyPoints[kRightEyeCentre] = face.set.Eyes()[1];
    const auto put = [&](int at, const Point(&points)[4]) { std::copy_n(points, 4, f.landmarks + at); };
    put(kLeftEyeOuterCorner, {face.At(-29, -8), face.At(-11, -8), face.At(-20, -12), face.At(-20, -4)});
    put(kRightEyeInnerCorner, {face.At(11, -8), face.At(29, -7), face.At(20, -12), face.At(20, -4)});
    f.landmarks[kMouthLeftEnd] = face.At(-16, 30);
    f.landmarks[kMouthRightEnd] = face.At(16, 30);
    f.landmarks[kMouthTop] = face.At(0, 25);
    f.landmarks[kMouthBottom] = face.At(0, 35);
    std::copy_n(face.set.Attributes(), QX_FACE_ATTRIBUTE_POINTS, f.attributes);
    f.attributes[kNoseRoot] = face.At(1, -14);
    faces.push_back(f);
  }
  void TurnClockwise() {
    for (ScriptedFace& f : faces) f = qx::test::TurnClockwise(f, photo.height);
    photo = photo.TurnedClockwise();
  }

  Photo photo;
  std::vector<ScriptedFace> faces;
};

struct Settings {
  bool sourceScale;
  int32_t bound;
  double ratio;
};
constexpr Settings kSourceScale = {true, 800, 0.5}, kBounded = {false, 600, 1};

// A crop run and all that can be asked for after it.
class Session {
 public:
  Session(std::string name, Portrait portrait, const Settings& settings, int32_t mode, Digests* digests)
      : name_(std::move(name)), photo_(portrait.photo), digests_(*digests) {
    Script().detections = {portrait.faces};
    QX_IDP_SetSrcSame(handle_.get(), settings.sourceScale ? 1 : 0);
    QX_IDP_SetRCLRBound(handle_.get(), settings.bound);
    QX_IDP_SetRCLRRatio(handle_.get(), settings.ratio);
    const IdpImage image = photo_.Image();
    EXPECT_EQ(QX_IDP_RoughCrop(handle_.get(), &image, mode, result_.get()), IDP_OK) << name_;
    int32_t width = 0, height = 0;
    QX_IDP_GetRCSize(result_.get(), 0, &height, &width);
    pixels_ = static_cast<size_t>(width) * static_cast<size_t>(height);
  }

  void Crop(int32_t index) {
    const qx::test::Crop crop = ReadCrop(result_.get(), index);
    Add("crop size", {crop.width, crop.height});
    Add("crop image", crop.image);
    Add("crop mask", crop.mask);
  }
  void Quality(int32_t index) {
    QualityScores s = {};
    EXPECT_EQ(QX_IDP_CheckQuality(handle_.get(), result_.get(), index, &s), IDP_OK);
    Add("quality", {s.tilt, s.brightness, s.symmetry, s.background});
  }
  // An ellipse of a person with a soft edge around the middle of the photograph, a little uneven all over.
  void SetMask() {
    Bytes mask;
    const int64_t w = photo_.width, h = photo_.height;
    for (int64_t y = 0; y < h; ++y) {
      for (int64_t x = 0; x < w; ++x) {
        const int64_t dx = (2 * x - w) * 1000 / w, dy = (2 * y - h) * 1000 / h;
        const int64_t value = 700 - (dx * dx + dy * dy) / 1000 - (x * 7 + y * 3) % 11;
        mask.push_back(static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 250) + (x + y) % 5));
      }
    }
    ASSERT_EQ(QX_IDP_SetSrcMaskFg(result_.get(), 0, mask.data(), photo_.pixels.data()), IDP_OK);
  }
  void Mask() {
    SetMask();
    Bytes cropMask(pixels_), cropColour(pixels_ * 3), source(photo_.pixels.size() / 3), colour(photo_.pixels.size());
    EXPECT_EQ(QX_IDP_GetRCMaskFg(result_.get(), 0, cropMask.data(), cropColour.data()), IDP_OK);
    EXPECT_EQ(QX_IDP_GetSrcMaskFg(result_.get(), 0, source.data(), colour.data()), IDP_OK);
    Add("person mask, crop", cropMask);
    Add("person colour, crop", cropColour);
    Add("person mask, source", source);
    Add("person colour, source", colour);
  }
  void FineCrop(int32_t index, const std::string& what, const FineCropParams& params) {
    CropRect r = {};
    const int32_t status = QX_IDP_FineCrop(result_.get(), index, &params, &r);
    Add("fine crop, " + what, {status, r.left, r.top, r.right, r.bottom});
  }
  void RetouchPhoto(int32_t index, const std::string& what, const BeautyParams& params) {
    Bytes out(photo_.pixels.size());
    const IdpImage image = photo_.Image();
    EXPECT_EQ(QX_IDP_DoFaceBeauty(handle_.get(), &image, result_.get(), index, &params, nullptr, out.data()), IDP_OK);
    Add("photograph, " + what, out);
  }
  void RetouchCrop(int32_t index, const std::string& what, const BeautyParams& params) {
    Bytes mask(pixels_), out(pixels_ * 3);
    EXPECT_EQ(QX_IDP_DoFaceBeauty(handle_.get(), nullptr, result_.get(), index, &params, mask.data(), out.data()),
              IDP_OK);
    Add("crop, " + what, out);
    Add("crop mask, " + what, mask);
  }
  void RetouchSource(const std::string& what, const BeautyParams& params) {
    Bytes mask(photo_.pixels.size() / 3), out(photo_.pixels.size());
    EXPECT_EQ(QX_IDP_Do91Beauty(handle_.get(), result_.get(), 0, &params, mask.data(), out.data()), IDP_OK);
    Add("source, " + what, out);
    Add("source mask, " + what, mask);
  }

 private:
  void Add(const std::string& what, const Bytes& bytes) { digests_.Add(name_ + ": " + what, bytes); }
  void Add(const std::string& what, std::initializer_list<int32_t> numbers) {
    digests_.Add(name_ + ": " + what, numbers);
  }

  std::string name_;
  Photo photo_;
  Digests& digests_;
  HandlePtr handle_ = FreshHandle();
  ResultPtr result_{QX_IDP_CreateIDPResult()};
  size_t pixels_ = 0;  // of the crop
};

const PaintedFace& Face() {
  static const PaintedFace face(460, 520, 150, 235, 240);
  return face;
}

constexpr BeautyParams kEverything = {{1.5, 1, 0.5, 4, 3, 1, 2}};

void AddTurns(Digests* digests) {
  Portrait portrait(Face()), large(PaintedFace(610, 660, 260, 300, 310));
  Portrait corner(PaintedFace(230, 240, 170, 20, 200));  // its crop reaches over two edges
  for (const char* turn : {"upright", "right", "upside down", "left"}) {
    Session own(turn, portrait, kSourceScale, IDP_CROP_SINGLE, digests);
    own.Crop(0);
    own.Quality(0);
    Session scaled(std::string(turn) + ", scaled", large, kBounded, IDP_CROP_SINGLE, digests);
    scaled.Crop(0);
    scaled.Quality(0);
    Session over(std::string(turn) + ", over edges", corner, kSourceScale, IDP_CROP_SINGLE, digests);
    over.Crop(0);
    over.Quality(0);
    for (Portrait* p : {&portrait, &large, &corner}) p->TurnClockwise();
  }
  Session upright("masks", Portrait(Face()), kSourceScale, IDP_CROP_SINGLE, digests);
  upright.Mask();
  // A turned crop takes something of a mask only where it reaches over the photograph's left or upper edge.
  Portrait right(PaintedFace(700, 700, 150, 150, 599)), left(PaintedFace(700, 700, 150, 549, 100));
  right.TurnClockwise();
  for (int i = 0; i < 3; ++i) left.TurnClockwise();
  for (const auto& [name, lying] : {std::pair("masks, right", right), std::pair("masks, left", left)}) {
    Session session(name, lying, kSourceScale, IDP_CROP_SINGLE, digests);
    session.Mask();
    session.RetouchCrop(0, "everything", kEverything);
    session.RetouchSource("everything", kEverything);
  }
  Portrait grey(Face());
  Photo one(460, 520, 1);
  for (size_t i = 0; i < one.pixels.size(); ++i) one.pixels[i] = grey.photo.pixels[3 * i];
  grey.photo = one;
  Session("grey", grey, kSourceScale, IDP_CROP_SINGLE, digests).Crop(0);
}

void AddStages(Digests* digests) {
  Session session("stages", Portrait(Face()), kSourceScale, IDP_CROP_SINGLE, digests);
  session.SetMask();
  const std::pair<const char*, BeautyParams> stages[] = {
      {"eyes larger", {{3, 2, 0, 0, 0, 0, 0}}},    {"eyes smaller", {{-3, -2, 0, 0, 0, 0, 0}}},
      {"mouth larger", {{0, 0, 2, 0, 0, 0, 0}}},   {"mouth smaller", {{0, 0, -2, 0, 0, 0, 0}}},
      {"tone", {{0, 0, 0, 5, 0, 0, 0}}},           {"tone beyond ten", {{0, 0, 0, 14, 0, 0, 0}}},
      {"skin", {{0, 0, 0, 0, 2.5, 0, 0}}},         {"skin, spots only", {{0, 0, 0, 0, 6, 0, 0}}},
      {"detail", {{0, 0, 0, 0, 0, 1, 0}}},         {"contour narrower", {{0, 0, 0, 0, 0, 0, 4}}},
      {"contour wider", {{0, 0, 0, 0, 0, 0, -4}}}, {"everything", kEverything},
  };
  for (const auto& [what, params] : stages) session.RetouchPhoto(0, what, params);
  session.RetouchCrop(0, "everything", kEverything);
  session.RetouchSource("everything", kEverything);
  Portrait turned(Face());
  turned.TurnClockwise();
  Session lying("stages, right", turned, kSourceScale, IDP_CROP_SINGLE, digests);
  lying.RetouchPhoto(0, "everything", kEverything);
}

void AddFineCrops(Digests* digests) {
  Session session("fine", Portrait(Face()), kSourceScale, IDP_CROP_SINGLE, digests);
  session.SetMask();
  session.FineCrop(0, "35 : 45", {35, 45, 0.5, 0.85, 0.02, 0.2, 0.4, 0.7, -1, -1});
  session.FineCrop(0, "head alone", {35, 45, 0.6, 0.8, 0, 0, 0, 0, -1, -1});
  session.FineCrop(0, "square", {1, 1, 0, 0, 0, 0, 0.5, 0.6, -1, -1});
  session.FineCrop(0, "no bounds", {33, 48, 0, 0, 0, 0, 0, 0, -1, -1});
  session.FineCrop(0, "face width", {33, 48, 0, 0, 0, 0, 0, 0, 0.3, 0.5});
  session.FineCrop(0, "nothing fits", {35, 45, 0.1, 0.2, 0.5, 0.6, 0.1, 0.2, -1, -1});
}

void AddPairs(Digests* digests) {
  PaintedFace left(560, 420, 110, 190, 190), right(560, 420, 120, 380, 200);
  for (size_t i = 0; i < left.image.bytes.size(); ++i) {
    if (i / 3 % 560 >= 285) left.image.bytes[i] = right.image.bytes[i];
  }
  Portrait portrait(left);
  portrait.AddFace(right);
  const BeautyParams first = {{2, 2, 1, 3, 2, 1, 2}}, second = {{-1, -1, 0, 0, 4, 1, -3}};
  for (const char* turn : {"pair", "pair, right"}) {
    Session session(turn, portrait, kSourceScale, IDP_CROP_PAIR, digests);
    session.Crop(0);
    session.RetouchPhoto(0, "one face", first);
    session.RetouchPhoto(1, "both faces", second);
    session.FineCrop(0, "without a mask", {2, 3, 0, 0, 0, 0, 0, 0, -1, -1});
    portrait.TurnClockwise();
  }
  Session scaled("pair, scaled", portrait, {false, 600, 0.9}, IDP_CROP_PAIR, digests);
  scaled.Crop(1);
}

std::string AllDigests() {
  Digests digests;
  AddTurns(&digests);
  AddStages(&digests);
  AddFineCrops(&digests);
  AddPairs(&digests);
  return digests.Lines();
}

TEST(Results, AreTheStoredOnes) {
  ExpectStored("library", "fastest", AllDigests());
}

TEST(Results, AreTheStoredOnesWithPlainLoops) {
  UsePlainKernels(true);
  ExpectStored("library", "plain", AllDigests());
  UsePlainKernels(false);
}

}  // namespace
}  // namespace qx::test
