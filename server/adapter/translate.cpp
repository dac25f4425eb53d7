#include "server/adapter/translate.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/document/units.h"

namespace qx::server {
namespace {

using photo::Decimal;

constexpr char kPng[] = "png", kJpeg[] = "jpg";

// All fields of the interface: one that a path has no use for is no mistake of its clients.
constexpr std::array<std::string_view, 25> kKnown = {"height",
                                                     "width",
                                                     "human_matting_model",
                                                     "face_detect_model",
                                                     "hd",
                                                     "dpi",
                                                     "face_align",
                                                     "face_alignment",
                                                     "whitening_strength",
                                                     "head_measure_ratio",
                                                     "head_height_ratio",
                                                     "top_distance_max",
                                                     "top_distance_min",
                                                     "brightness_strength",
                                                     "contrast_strength",
                                                     "sharpen_strength",
                                                     "saturation_strength",
                                                     "color",
                                                     "kb",
                                                     "render",
                                                     "text",
                                                     "size",
                                                     "opacity",
                                                     "angle",
                                                     "space"};

photo::Failure BadField(const std::string& name, const std::string& text) {
  return {photo::FailureCode::kBadOption, name + ": " + text, {{"option", name}}};
}

class Fields {
 public:
  explicit Fields(const Pairs& fields) : fields_(fields) {
    for (size_t i = 0; i < fields.size(); ++i) {
      const std::string& name = fields[i].first;
      if (std::find(kKnown.begin(), kKnown.end(), name) == kKnown.end()) {
        throw BadField(photo::Printable(name), "there is no such field");
      }
      for (size_t k = 0; k < i; ++k) {
        if (fields[k].first == name) throw BadField(name, "comes twice");
      }
    }
  }

  // Null where it is missing or, as some clients send what they do not want, empty.
  const std::string* Find(const char* name) const {
    for (const auto& [known, value] : fields_) {
      if (known == name) return value.empty() ? nullptr : &value;
    }
    return nullptr;
  }
  std::string Text(const char* name, const char* usual) const {
    const std::string* const text = Find(name);
    return text ? *text : usual;
  }
  double Number(const char* name, double usual, double least, double most) const {
    const std::string* const text = Find(name);
    if (!text) return usual;
    double value = 0;
    const char* const end = text->data() + text->size();
    const auto [last, problem] = std::from_chars(text->data(), end, value, std::chars_format::fixed);
    // Written so that what is no number fails too.
    if (problem == std::errc() && last == end && value >= least && value <= most) return value;
    throw BadField(name, "is a number from " + Decimal(least) + " to " + Decimal(most) + ", not \"" +
                             photo::Printable(*text) + "\"");
  }
  int Whole(const char* name, int usual, int least, int most) const {
    const double value = Number(name, usual, least, most);
    if (value != std::floor(value)) throw BadField(name, "is a whole number");
    return static_cast<int>(value);
  }
  bool Flag(const char* name, bool usual) const {
    const std::string* const text = Find(name);
    if (!text) return usual;
    std::string word = *text;
    for (char& c : word) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    for (const char* yes : {"true", "1", "yes", "on"}) {
      if (word == yes) return true;
    }
    for (const char* no : {"false", "0", "no", "off"}) {
      if (word == no) return false;
    }
    throw BadField(name, "is true or false");
  }

 private:
  const Pairs& fields_;
};

// Colours are written without their mark.
std::string Colour(const Fields& fields, const char* usual) {
  const std::string text = fields.Text("color", usual);
  const std::string digits = text[0] == '#' ? text.substr(1) : text;
  const bool isHex = (digits.size() == 3 || digits.size() == 6) &&
                     digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
  if (!isHex) throw BadField("color", "is three or six hexadecimal digits, such as 438edb");
  return "#" + digits;
}

std::string Dpi(const Fields& fields) {
  return std::to_string(fields.Whole("dpi", 300, 72, 2400));
}

// A size of file needs a format that has any.
void AddFile(const Fields& fields, Pairs* options) {
  options->emplace_back("dpi", Dpi(fields));
  const bool isLimited = fields.Find("kb") != nullptr;
  if (isLimited) options->emplace_back("max-kb", std::to_string(fields.Whole("kb", 0, 1, 1'000'000)));
  options->emplace_back("format", isLimited ? kJpeg : kPng);
}

struct PixelSize {
  int width, height;
};

PixelSize SizeOf(const Fields& fields) {
  constexpr int kMost = 10'000;
  return {fields.Whole("width", 295, 1, kMost), fields.Whole("height", 413, 1, kMost)};
}

std::string Percents(double from, double to) {
  const auto part = [](double value) { return Decimal(100 * std::clamp(value, 0.0, 1.0)); };
  return part(from) + "-" + part(to) + "%";
}

// Its detector's rectangle of a face reaches from cheek to cheek and from the chin to the middle of the forehead.
constexpr double kFaceShape = 1.28;   // height to width of such a rectangle
constexpr double kHeadToFace = 1.3;   // from the chin to the top of the hair, of its height
constexpr double kEyesInFace = 0.11;  // from its middle up to the eyes, of its height
constexpr double kHeadPlay = 0.05;    // by which the head's length may differ, of itself
constexpr double kHeightPlay = 0.05;  // by which the eyes' height may differ, of the picture's

void AddPlace(const Fields& fields, const PixelSize& size, Pairs* options) {
  const double measure = fields.Number("head_measure_ratio", 0.2, 0.01, 1);
  const double face = std::sqrt(measure * kFaceShape * size.width / size.height);  // height, of the picture's
  const double head = kHeadToFace * face;
  options->emplace_back("head", Percents(head * (1 - kHeadPlay), head * (1 + kHeadPlay)));
  options->emplace_back("head-to", "hair");
  const double topMost = fields.Number("top_distance_max", 0.12, 0, 1);
  const double topLeast = fields.Number("top_distance_min", std::min(0.1, topMost), 0, 1);
  if (topLeast > topMost) throw BadField("top_distance_min", "is above top_distance_max");
  options->emplace_back("top", Percents(topLeast, topMost));
  // The two others fix the place already; asked for besides, it is weighed against them.
  if (fields.Find("head_height_ratio")) {
    const double eyes = 1 - fields.Number("head_height_ratio", 0, 0, 1) + kEyesInFace * face;
    options->emplace_back("eyes", Percents(eyes - kHeightPlay, eyes + kHeightPlay));
  }
  // There a picture is always cut.
  options->emplace_back("relax", "true");
}

// Percents there, parts of ten here.
void AddStrength(const Fields& fields, const char* field, double most, double scale, const char* option,
                 Pairs* options) {
  const double strength = fields.Number(field, 0, -most, most) * scale;
  if (strength != 0) options->emplace_back(option, Decimal(strength));
}

void AddLook(const Fields& fields, Pairs* options) {
  const double whitening = fields.Number("whitening_strength", 0, 0, 30);
  if (whitening > 0) options->emplace_back("tone", Decimal(std::max(1.0, std::floor(whitening / 3 + 0.5))));
  AddStrength(fields, "brightness_strength", 100, 0.1, "brightness", options);
  AddStrength(fields, "contrast_strength", 100, 0.1, "contrast", options);
  AddStrength(fields, "saturation_strength", 100, 0.1, "saturation", options);
  AddStrength(fields, "sharpen_strength", 5, 2, "sharpness", options);
}

Translation Portrait(const Fields& fields, bool isCutOut) {
  const PixelSize size = SizeOf(fields);
  Pairs options = {{"size", std::to_string(size.width) + "x" + std::to_string(size.height) + "px"},
                   {"dpi", Dpi(fields)},
                   {"background", isCutOut ? "transparent" : "keep"},
                   {"format", kPng}};
  AddPlace(fields, size, &options);
  if (isCutOut) AddLook(fields, &options);
  const bool isAligned = fields.Flag(fields.Find("face_align") ? "face_align" : "face_alignment", false);
  if (!isCutOut || !isAligned) options.emplace_back("no-straighten", "true");
  Translation translation{{{"make", options}}, {"image_base64_standard"}};
  if (fields.Flag("hd", true)) {
    translation.steps[0].options.emplace_back("own-size", "true");
    translation.members.emplace_back("image_base64_hd");
  }
  return translation;
}

Translation OnePicture(std::string command, Pairs options) {
  return {{{std::move(command), std::move(options)}}, {"image_base64"}};
}

Translation NewBackground(const Fields& fields) {
  const std::string colour = Colour(fields, "000000");
  const int render = fields.Whole("render", 0, 0, 2);
  Pairs options = {{"background", render == 0   ? colour
                                  : render == 1 ? "gradient:" + colour + "-#ffffff"
                                                : "radial:#ffffff-" + colour}};
  AddFile(fields, &options);
  return OnePicture("background", std::move(options));
}

Translation Sheet(const Fields& fields) {
  const int dpi = fields.Whole("dpi", 300, 72, 2400);
  const PixelSize size = SizeOf(fields);
  const auto millimetres = [dpi](int pixels) { return Decimal(photo::ToMillimetres(pixels, dpi)); };
  Pairs options = {{"paper", "4x6"},
                   {"size", millimetres(size.width) + "x" + millimetres(size.height) + "mm"},
                   {"size-counts", "true"},
                   {"dpi", std::to_string(dpi)},
                   {"format", kPng}};
  Translation translation = OnePicture("sheet", std::move(options));
  if (fields.Find("kb")) {
    Pairs file;
    AddFile(fields, &file);
    translation.steps.push_back({"compress", std::move(file)});
  }
  return translation;
}

Translation Marked(const Fields& fields) {
  if (!fields.Find("text")) throw BadField("text", "is missing");
  double angle = fields.Number("angle", 30, -360, 360);
  if (angle > 180) angle -= 360;
  if (angle < -180) angle += 360;
  Pairs options = {{"text", fields.Text("text", "")},
                   {"size", std::to_string(fields.Whole("size", 20, 4, 1000))},
                   {"opacity", Decimal(fields.Number("opacity", 0.5, 0, 1))},
                   {"angle", Decimal(angle)},
                   {"color", Colour(fields, "808080")},
                   {"space", std::to_string(fields.Whole("space", 25, 0, 10'000))}};
  AddFile(fields, &options);
  return OnePicture("watermark", std::move(options));
}

}  // namespace

Translation Translate(std::string_view form, const Pairs& pairs) {
  const Fields fields(pairs);
  if (form == "idphoto") return Portrait(fields, true);
  if (form == "idphoto_crop") return Portrait(fields, false);
  if (form == "human_matting") return OnePicture("mask", {{"cutout", "true"}, {"dpi", Dpi(fields)}});
  if (form == "add_background") return NewBackground(fields);
  if (form == "generate_layout_photos") return Sheet(fields);
  if (form == "watermark") return Marked(fields);
  const std::string kb = std::to_string(fields.Whole("kb", 50, 1, 1'000'000));
  return OnePicture("compress", {{"max-kb", kb}, {"dpi", Dpi(fields)}, {"format", kJpeg}});
}

}  // namespace qx::server
