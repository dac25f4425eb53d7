#include "codec/image_file.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <system_error>
#include <vips/vips8>

#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::codec {
namespace fs = std::filesystem;
using vips::VImage;
namespace {

constexpr char kSupported[] = "JPEG, PNG, WebP, HEIF and TIFF can be read";

// The first line of what the image library has to say, which then forgets it.
std::string LibraryMessage() {
  const std::string_view all = vips_error_buffer();
  std::string line = photo::Printable(all.substr(0, all.find('\n')));
  vips_error_clear();
  return line.empty() ? "no reason given" : line;
}

// Loads one of the formats below, lazily. Only these are ever asked: the image library knows many more that have no
// place here, some of them with interpreters in them.
struct Loader {
  const char* name;
  VImage (*load)(const char* path, vips::VOption* options);
};

const Loader* FindLoader(std::string_view head) {
  static constexpr Loader kJpeg{"JPEG", VImage::jpegload}, kPng{"PNG", VImage::pngload},
      kWebp{"WebP", VImage::webpload}, kHeif{"HEIF", VImage::heifload}, kTiff{"TIFF", VImage::tiffload};
  using namespace std::string_view_literals;
  auto startsWith = [&](std::string_view mark) { return head.substr(0, mark.size()) == mark; };
  if (startsWith("\xFF\xD8\xFF"sv)) return &kJpeg;
  if (startsWith("\x89PNG\r\n\x1A\n"sv)) return &kPng;
  if (startsWith("RIFF"sv) && head.size() >= 12 && head.substr(8, 4) == "WEBP"sv) return &kWebp;
  if (startsWith("II*\0"sv) || startsWith("MM\0*"sv) || startsWith("II+\0"sv) || startsWith("MM\0+"sv)) return &kTiff;
  if (head.size() >= 12 && head.substr(4, 4) == "ftyp"sv) {
    for (const auto brand : {"heic"sv, "heix"sv, "heim"sv, "heis"sv, "hevc"sv, "hevx"sv, "mif1"sv, "msf1"sv, "avif"sv,
                             "avis"sv, "miaf"sv}) {
      if (head.substr(8, 4) == brand) return &kHeif;
    }
  }
  return nullptr;
}

// Looks at the file itself: is it there, is it a file, and which loader does its content call for?
const Loader& ChooseLoader(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found)
    throw photo::Failure(photo::FailureCode::kNoFile, "no such file; check the name");
  if (fs::is_directory(status))
    throw photo::Failure(photo::FailureCode::kNoFile, "is a folder; name the photographs in it");
  if (fs::exists(status) && !fs::is_regular_file(status))
    throw photo::Failure(photo::FailureCode::kNoFile, "is not a file; name a photograph");

  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) {
    throw photo::Failure(photo::FailureCode::kCannotRead,
                         "cannot be opened (" + std::generic_category().message(errno) + "); check its permissions");
  }
  std::array<char, 32> head{};
  const size_t size = std::fread(head.data(), 1, head.size(), file.get());
  if (size == 0)
    throw photo::Failure(photo::FailureCode::kNotAPicture, "is empty; get the photograph again from where it came");
  const Loader* loader = FindLoader({head.data(), size});
  if (!loader)
    throw photo::Failure(photo::FailureCode::kNotAPicture,
                         std::string("is not a photograph in a known format; ") + kSupported);
  return *loader;
}

std::string Megapixels(int64_t pixels) {
  char text[32];
  std::snprintf(text, sizeof text, pixels < 10'000'000 ? "%.1f" : "%.0f", static_cast<double>(pixels) / 1e6);
  return text;
}

void CheckSize(const VImage& image, int64_t maxPixels) {
  const int64_t width = image.width(), height = image.height();
  if (width * height <= maxPixels) return;
  throw photo::Failure(photo::FailureCode::kTooLarge,
                       "is " + std::to_string(width) + " x " + std::to_string(height) + " pixels (" +
                           Megapixels(width * height) + " megapixels), above the limit of " + Megapixels(maxPixels) +
                           "; make it smaller",
                       {{"limit", static_cast<double>(maxPixels)}, {"got", static_cast<double>(width * height)}});
}

// True when the embedded profile is sRGB by its own description. Such pixels are taken as they are, which is exact and
// quick; a conversion would go through another colour space and back.
bool IsSrgbProfile(const VImage& image) {
  size_t size = 0;
  const auto* data = static_cast<const char*>(image.get_blob(VIPS_META_ICC_NAME, &size));
  const std::string_view profile(data, size);
  // ICC.1: 128 bytes of header (colour space at 16), the count of tags, 12 bytes a tag: signature, offset, length.
  if (size < 132 || profile.substr(16, 4) != "RGB ") return false;
  auto number = [&](size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(profile[at + i]);
    return size_t{value};
  };
  const size_t tags = number(128);
  for (size_t i = 0, at = 132; i < tags && at + 12 <= size; ++i, at += 12) {
    if (profile.substr(at, 4) != "desc") continue;
    const size_t offset = number(at + 4);
    // textDescriptionType: signature, four zero bytes, length, then ASCII.
    return offset <= size - 12 && profile.substr(offset, 4) == "desc" && profile.substr(offset + 12, 4) == "sRGB";
  }
  return false;
}

VImage ToSrgb(const VImage& image) {
  const bool cmyk = image.interpretation() == VIPS_INTERPRETATION_CMYK;
  const bool profiled = image.get_typeof(VIPS_META_ICC_NAME) != 0;
  if (cmyk || (profiled && !IsSrgbProfile(image))) {
    auto* options = VImage::option()
                        ->set("embedded", true)
                        ->set("intent", VIPS_INTENT_RELATIVE)
                        ->set("black_point_compensation", true)
                        ->set("depth", 8);
    if (cmyk) options->set("input_profile", "cmyk");
    try {
      return image.icc_transform("srgb", options);
    } catch (const vips::VError&) {
      // A profile that is damaged or belongs to another kind of picture: the numbers are read without it.
      vips_error_clear();
    }
  }
  return image.interpretation() == VIPS_INTERPRETATION_sRGB ? image : image.colourspace(VIPS_INTERPRETATION_sRGB);
}

// As a viewer shows it: upright, on white, sRGB, 8 bits.
VImage Normalise(VImage image) {
  if (vips_image_get_orientation(image.get_image()) > 1) {
    image = image.copy_memory();  // turning reads columns, the decoder gives rows
    image = image.autorot();
  }
  if (image.has_alpha()) {
    // White in the picture's own numbers: no ink, or full light (16 bits, 8 bits, or floating point 1).
    const auto kind = image.interpretation();
    const double light = kind == VIPS_INTERPRETATION_CMYK                                          ? 0
                         : kind == VIPS_INTERPRETATION_RGB16 || kind == VIPS_INTERPRETATION_GREY16 ? 65535
                         : kind == VIPS_INTERPRETATION_scRGB                                       ? 1
                                                                                                   : 255;
    image = image.flatten(VImage::option()->set("background", std::vector<double>{light}));
  }
  image = ToSrgb(image);
  if (image.format() != VIPS_FORMAT_UCHAR) image = image.cast(VIPS_FORMAT_UCHAR);
  if (image.bands() != 3) {
    throw photo::Failure(photo::FailureCode::kNotAPicture,
                         "has " + std::to_string(image.bands()) + " channels, which is no photograph; save it as sRGB");
  }
  return image;
}

// Receives decoded strips, top to bottom, and turns red-green-blue into blue-green-red.
int CopyStrip(VipsRegion* region, VipsRect* area, void* image) {
  auto& target = *static_cast<photo::Image*>(image);
  for (int y = area->top; y < area->top + area->height; ++y) {
    const uint8_t* from = VIPS_REGION_ADDR(region, area->left, y);
    uint8_t* to = target.bgr.data() +
                  3 * (static_cast<size_t>(y) * static_cast<size_t>(target.width) + static_cast<size_t>(area->left));
    for (int x = 0; x < area->width; ++x, from += 3, to += 3) {
      to[0] = from[2];
      to[1] = from[1];
      to[2] = from[0];
    }
  }
  return 0;
}

}  // namespace

ImageLibrary::ImageLibrary(const char* programName) {
  if (vips_init(programName) != 0)
    throw photo::Failure(photo::FailureCode::kEngine, "the image library cannot start (" + LibraryMessage() + ")");
  // Nothing is read twice, and a cached operation would keep its file open and its old content alive.
  vips_cache_set_max(0);
  // Whatever matters comes back as an error; warnings on odd metadata are no concern of the user's.
  g_log_set_default_handler([](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
}

ImageLibrary::~ImageLibrary() {
  vips_shutdown();
}

void UseOneImageThread() {
  vips_concurrency_set(1);
}

photo::Image ReadImage(const fs::path& path, int64_t maxPixels) {
  const Loader& loader = ChooseLoader(path);
  try {
    const VImage source = loader.load(
        path.c_str(), VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_TRUNCATED));
    CheckSize(source, maxPixels);
    const VImage upright = Normalise(source);
    photo::Image image(upright.width(), upright.height());
    if (vips_sink_disc(upright.get_image(), CopyStrip, &image) != 0) throw vips::VError();
    return image;
  } catch (const vips::VError&) {
    throw photo::Failure(photo::FailureCode::kDamagedFile, std::string("is a damaged or truncated ") + loader.name +
                                                               " file (" + LibraryMessage() +
                                                               "); get it again from where it came");
  }
}

std::optional<ImageFormat> FormatOfName(const fs::path& path) {
  std::string ending = path.extension().native();
  for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (ending == ".png") return ImageFormat::kPng;
  if (ending == ".jpg" || ending == ".jpeg") return ImageFormat::kJpeg;
  return std::nullopt;
}

std::vector<uint8_t> EncodeImage(const photo::Image& image, ImageFormat format) {
  try {
    const VImage bgr = VImage::new_from_memory(const_cast<uint8_t*>(image.bgr.data()), image.bgr.size(), image.width,
                                               image.height, 3, VIPS_FORMAT_UCHAR);
    const VImage rgb = VImage::bandjoin({bgr[2], bgr[1], bgr[0]})
                           .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    auto* options = VImage::option()->set("strip", true);  // no resolution: none is known
    if (format == ImageFormat::kJpeg) options->set("Q", 95)->set("subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF);
    VipsBlob* blob = format == ImageFormat::kJpeg ? rgb.jpegsave_buffer(options) : rgb.pngsave_buffer(options);
    size_t size = 0;
    const auto* bytes = static_cast<const uint8_t*>(vips_blob_get(blob, &size));
    std::vector<uint8_t> file(bytes, bytes + size);
    vips_area_unref(VIPS_AREA(blob));
    return file;
  } catch (const vips::VError&) {
    throw photo::Failure(photo::FailureCode::kOutOfMemory, "the picture cannot be encoded (" + LibraryMessage() + ")");
  }
}

}  // namespace qx::codec
