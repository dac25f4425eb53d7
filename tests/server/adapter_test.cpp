// Forms of the seven paths, as they are read, and what is asked for in their place.
#include <gtest/gtest.h>

#include <string>

#include "photo/base/failure.h"
#include "server/adapter/adapter.h"
#include "server/adapter/base64.h"
#include "server/adapter/form.h"
#include "server/adapter/translate.h"
#include "server/http/problem.h"

namespace qx::server {
namespace {

Bytes ToBytes(std::string_view text) {
  return {text.begin(), text.end()};
}

std::string ToText(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

constexpr char kUrlEncoded[] = "application/x-www-form-urlencoded; charset=utf-8";

std::string Multipart(const std::string& name, const std::string& file, const std::string& more = "") {
  return "--x\r\nContent-Disposition: form-data; name=\"" + name + "\"" + more + "\r\n\r\n" + file + "\r\n--x--\r\n";
}

// The picture and the fields, or the status and code of the problem.
std::string Read(const std::string& body, const std::string& type) {
  try {
    const Form form = ReadForm(ToBytes(body), type, Limits());
    std::string said = ToText(form.picture);
    for (const auto& [name, value] : form.fields) said += " " + name + "=" + value;
    return said;
  } catch (const Problem& problem) {
    return std::to_string(problem.status) + " " + problem.code;
  }
}

TEST(Adapter, Base64GoesBothWays) {
  // RFC 4648, section 10, and all bytes.
  for (const auto& [plain, text] : {std::pair("", ""), std::pair("f", "Zg=="), std::pair("fo", "Zm8="),
                                    std::pair("foo", "Zm9v"), std::pair("foob", "Zm9vYg==")}) {
    Bytes encoded, decoded = ToBytes(text);
    AppendBase64(reinterpret_cast<const uint8_t*>(plain), std::char_traits<char>::length(plain), &encoded);
    EXPECT_EQ(text, ToText(encoded));
    EXPECT_EQ(Base64Length(std::char_traits<char>::length(plain)), encoded.size());
    ASSERT_TRUE(DecodeBase64(&decoded));
    EXPECT_EQ(plain, ToText(decoded));
  }
  Bytes all, text;
  for (int i = 0; i < 1000; ++i) all.push_back(static_cast<uint8_t>(i * 37));
  AppendBase64(all.data(), all.size(), &text);
  ASSERT_TRUE(DecodeBase64(&text));
  EXPECT_EQ(all, text);
  for (const char* wrong : {"Z", "Zm9vY", "Zg=", "Zg===", "=", "Z=g=", "Zg==Zg==", "Zm 9v", "Zm9v-_", "Zm9v\x80"}) {
    Bytes bytes = ToBytes(wrong);
    EXPECT_FALSE(DecodeBase64(&bytes)) << wrong;
  }
  Bytes lines = ToBytes("Zm9v\r\nYmFy\nZg");
  ASSERT_TRUE(DecodeBase64(&lines));
  EXPECT_EQ("foobarf", ToText(lines));
}

TEST(Adapter, FormsHoldOnePictureAsFileOrText) {
  constexpr char kType[] = "multipart/form-data; boundary=x";
  EXPECT_EQ("\xff\xd8 here", Read(Multipart("input_image", "\xff\xd8 here", "; filename=\"a.jpg\""), kType));
  EXPECT_EQ("foo", Read(Multipart("input_image_base64", "Zm9v"), kType));
  EXPECT_EQ("foo kb=5 text=a b&\xc3\xbc",
            Read("kb=5&input_image_base64=data%3Aimage%2Fpng%3Bbase64%2CZm9v&&text=a+b%26%C3%BC", kUrlEncoded));
  // Clients that know both names send one of them empty.
  EXPECT_EQ("foo", Read("input_image=&input_image_base64=Zm9v", kUrlEncoded));
  for (const char* none : {"", "kb=5", "input_image_base64", "input_image_base64=", "=", "input_image_base64=%3D"}) {
    EXPECT_EQ("400", Read(none, kUrlEncoded).substr(0, 3)) << none;
  }
  EXPECT_EQ("400 bad_option", Read("input_image_base64=Zm%209v", kUrlEncoded));
  EXPECT_EQ("400 no_photo", Read("input_image_base64=data:;base64,", kUrlEncoded));
  EXPECT_EQ("400 bad_form", Read("input_image_base64=data:image/png,Zm9v", kUrlEncoded));
  EXPECT_EQ("400 bad_form", Read("input_image_base64=data:a,;base64,Zm9v", kUrlEncoded));
  EXPECT_EQ("400 bad_form", Read("input_image_base64=Zm9v&input_image=x", kUrlEncoded));
  for (const char* torn : {"input_image_base64=Zm9%", "input_image_base64=Zm9v%2", "k%zz=1&input_image_base64=Zm9v"}) {
    EXPECT_EQ("400 bad_form", Read(torn, kUrlEncoded)) << torn;
  }
  EXPECT_EQ("400 bad_option", Read("kb=%00&input_image_base64=Zm9v", kUrlEncoded));
  EXPECT_EQ("400 bad_form", Read(Multipart("other", "x", "; filename=\"a.jpg\""), kType));
  EXPECT_EQ("415 unsupported_form", Read("{}", "application/json"));
  EXPECT_EQ("415 unsupported_form", Read("x", ""));
  std::string many;
  for (int i = 0; i < 1000; ++i) many += "a=b&";
  EXPECT_EQ("400 bad_form", Read(many, kUrlEncoded));
}

// "make size=295x413px ...; compress ... -> members", or the field that is to blame.
std::string Asked(std::string_view form, const Pairs& fields) {
  try {
    const Translation translation = Translate(form, fields);
    std::string said;
    for (const Step& step : translation.steps) {
      said += (said.empty() ? "" : "; ") + step.command;
      for (const auto& [name, value] : step.options) said += " " + name + "=" + value;
    }
    said += " ->";
    for (const std::string_view member : translation.members) said += " " + std::string(member);
    return said;
  } catch (const photo::Failure& failure) {
    return failure.Word("option");
  }
}

TEST(Adapter, FieldsBecomeOptions) {
  EXPECT_EQ(
      "make size=295x413px dpi=300 background=transparent format=png head=52.81-58.37% head-to=hair top=10-12% "
      "relax=true no-straighten=true own-size=true -> image_base64_standard image_base64_hd",
      Asked("idphoto", {}));
  EXPECT_EQ(
      "make size=295x413px dpi=600 background=transparent format=png head=52.81-58.37% head-to=hair top=5-6% "
      "eyes=54.7-64.7% relax=true tone=7 brightness=-2.5 sharpness=10 -> image_base64_standard",
      Asked("idphoto", {{"dpi", "600"},
                        {"top_distance_max", "0.06"},
                        {"top_distance_min", "0.05"},
                        {"head_height_ratio", "0.45"},
                        {"whitening_strength", "20"},
                        {"brightness_strength", "-25"},
                        {"sharpen_strength", "5"},
                        {"face_alignment", "True"},
                        {"human_matting_model", "any"},
                        {"hd", "false"}}));
  EXPECT_EQ("mask cutout=true dpi=300 -> image_base64", Asked("human_matting", {{"face_detect_model", ""}}));
  EXPECT_EQ("background background=#438edb dpi=300 format=png -> image_base64",
            Asked("add_background", {{"color", "438edb"}, {"render", "0"}}));
  EXPECT_EQ("background background=radial:#ffffff-#abc dpi=300 max-kb=50 format=jpg -> image_base64",
            Asked("add_background", {{"color", "#abc"}, {"render", "2"}, {"kb", "50"}}));
  EXPECT_EQ(
      "sheet paper=4x6 size=24.98x34.97mm size-counts=true dpi=300 format=png; compress dpi=300 max-kb=200 format=jpg "
      "-> image_base64",
      Asked("generate_layout_photos", {{"kb", "200"}}));
  EXPECT_EQ("watermark text=x size=20 opacity=0.5 angle=-30 color=#808080 space=25 dpi=300 format=png -> image_base64",
            Asked("watermark", {{"text", "x"}, {"angle", "330"}}));
  EXPECT_EQ("compress max-kb=50 dpi=300 format=jpg -> image_base64", Asked("set_kb", {}));

  EXPECT_EQ("nonsense", Asked("idphoto", {{"nonsense", "1"}}));
  EXPECT_EQ("dpi", Asked("idphoto", {{"dpi", "300"}, {"dpi", "300"}}));
  EXPECT_EQ("top_distance_min", Asked("idphoto", {{"top_distance_min", "0.2"}}));
  for (const char* number : {"nan", "inf", "-1", "1e9", "3x", " 3", "0x10", "99999999999999999999"}) {
    EXPECT_EQ("height", Asked("idphoto", {{"height", number}})) << number;
  }
  EXPECT_EQ("hd", Asked("idphoto_crop", {{"hd", "maybe"}}));
  EXPECT_EQ("color", Asked("add_background", {{"color", "red;x"}}));
  EXPECT_EQ("text", Asked("watermark", {}));
}

TEST(Adapter, AnswersHoldPicturesAsTextWithinBounds) {
  ChildReply reply;
  reply.pictures.push_back({"a.png", "image/png", {'f', 'o', 'o', 'b'}});
  EXPECT_EQ("{\"status\": true, \"image_base64\": \"data:image/png;base64,Zm9vYg==\"}\n",
            ToText(FormAnswer({"image_base64"}, reply).body));
  EXPECT_THROW(FormAnswer({"image_base64_standard", "image_base64_hd"}, reply), Problem);
  reply.pictures[0].bytes.resize((64 << 20) + 1);
  EXPECT_THROW(FormAnswer({"image_base64"}, reply), Problem);
}

}  // namespace
}  // namespace qx::server
