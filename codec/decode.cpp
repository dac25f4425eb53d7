#include "codec/decode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "codec/colours.h"
#include "codec/library.h"
#include "codec/platform/platform.h"
#include "codec/print_resolution.h"
#include "photo/base/failure.h"

namespace qx::codec {

using vips::VImage;

// How a format decodes to fewer pixels than it holds.
enum class Reducing { kNever, kHalving, kAny };

struct Loader {
  const char* name;
  VImage (*load)(VipsBlob* file, vips::VOption* options);
  Reducing reducing;
};

namespace {

constexpr char kSupported[] = "JPEG, PNG, WebP, HEIF and TIFF can be read";
constexpr int32_t kMostHalving = 8;  // what JPEG decoders know
constexpr int32_t kMostReduction = 64;
constexpr int32_t kStripRows = 32;

// Only these are ever asked.
const Loader* FindLoader(std::string_view head) {
  static constexpr Loader kJpeg{"JPEG", VImage::jpegload_buffer, Reducing::kHalving},
      kPng{"PNG", VImage::pngload_buffer, Reducing::kNever}, kWebp{"WebP", VImage::webpload_buffer, Reducing::kAny},
      kHeif{"HEIF", VImage::heifload_buffer, Reducing::kNever},
      kTiff{"TIFF", VImage::tiffload_buffer, Reducing::kNever};
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

const Loader* ChooseLoader(const photo::Bytes& file) {
  if (file.empty())
    throw photo::Failure(photo::FailureCode::kNotAPicture, "is empty; get the photograph again from where it came");
  const Loader* const loader =
      FindLoader({reinterpret_cast<const char*>(file.data()), std::min<size_t>(file.size(), 32)});
  if (!loader)
    throw photo::Failure(photo::FailureCode::kNotAPicture,
                         std::string("is not a photograph in a known format; ") + kSupported);
  return loader;
}

std::string Megapixels(int64_t pixels) {
  char text[32];
  std::snprintf(text, sizeof text, pixels < 10'000'000 ? "%.1f" : "%.0f", static_cast<double>(pixels) / 1e6);
  return text;
}

void CheckSize(const Extent& size, int64_t maxPixels) {
  if (size.Pixels() <= maxPixels) return;
  throw photo::Failure(photo::FailureCode::kTooLarge,
                       "is " + std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels (" +
                           Megapixels(size.Pixels()) + " megapixels), above the limit of " + Megapixels(maxPixels) +
                           "; make it smaller",
                       {{"limit", static_cast<double>(maxPixels)}, {"got", static_cast<double>(size.Pixels())}});
}

// From the orientation of EXIF 2.32.
Turn TurnOf(int orientation) {
  return {orientation >= 5 && orientation <= 8,
          orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7,
          orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8};
}

// An upper bound of the bytes that decoding takes beside its result, so that it is not started where they are missing:
// not all parts of all decoders say cleanly that a small piece of memory is not to be had.
int64_t MemoryFor(const Loader& loader, const VImage& image) {
  constexpr int64_t kRows = 256, kBase = int64_t{32} << 20, kThreads = int64_t{96} << 20;
  const int64_t width = image.width(), height = image.height();
  const int64_t pixel = image.bands() * static_cast<int64_t>(VIPS_IMAGE_SIZEOF_ELEMENT(image.get_image()));
  const int64_t rows = kBase + width * kRows * (pixel + 3);
  const std::string_view name = loader.name;
  if (name == "HEIF") return rows + kThreads + width * height * 16;
  if (name == "WebP") return rows + width * height * 16;
  if (name == "TIFF") return rows + width * height * pixel;  // a file may be a single strip
  const bool isInterlaced = image.get_typeof("interlaced") != 0 || image.get_typeof("jpeg-multiscan") != 0;
  return rows + (isInterlaced ? width * height * 2 * std::max<int64_t>(pixel, 4) : 0);
}

// Where the pixels of strips go: the picture, turned as wanted, and the opacity.
struct Target {
  photo::Image* image;
  photo::Mask* opacity;                       // or none
  ptrdiff_t origin = 0, right = 0, down = 0;  // in pixels: where the first one goes, and steps to its neighbours
};

Target MakeTarget(const Turn& turn, photo::Image* image, photo::Mask* opacity) {
  const ptrdiff_t width = image->width, height = image->height;
  Target target{image, opacity};
  ptrdiff_t x = 1, y = width;  // steps along the upright picture's rows and columns
  if (turn.isMirrored) {
    target.origin += width - 1;
    x = -x;
  }
  if (turn.isUpsideDown) {
    target.origin += (height - 1) * width;
    y = -y;
  }
  target.right = turn.isTransposed ? y : x;
  target.down = turn.isTransposed ? x : y;
  return target;
}

// Samples of a strip of rows, red, green, blue and perhaps opacity.
struct Strip {
  const uint8_t* samples;
  ptrdiff_t stride;  // bytes from row to row
  int32_t top, width, height;
  int32_t bands;
};

void Put(const Strip& strip, const Target& target, int32_t x, int32_t y) {
  const uint8_t* const from = strip.samples + y * strip.stride + ptrdiff_t{x} * strip.bands;
  const ptrdiff_t at = target.origin + x * target.right + (strip.top + y) * target.down;
  uint8_t* const to = target.image->bgr.data() + 3 * at;
  to[0] = from[2];
  to[1] = from[1];
  to[2] = from[0];
  if (target.opacity) target.opacity->values.data()[at] = strip.bands == 4 ? from[3] : 255;
}

// Goes along the rows of the target.
void PutStrip(const Strip& strip, const Target& target) {
  if (std::abs(target.right) == 1) {
    for (int32_t y = 0; y < strip.height; ++y) {
      for (int32_t x = 0; x < strip.width; ++x) Put(strip, target, x, y);
    }
  } else {
    for (int32_t x = 0; x < strip.width; ++x) {
      for (int32_t y = 0; y < strip.height; ++y) Put(strip, target, x, y);
    }
  }
}

// Asks for the box strip by strip, in this thread.
void PullStrips(const VImage& image, const photo::PixelBox& box, const Target& target) {
  const std::unique_ptr<VipsRegion, void (*)(void*)> region(vips_region_new(image.get_image()), g_object_unref);
  if (!region) throw vips::VError();
  for (int32_t top = box.top; top < box.bottom; top += kStripRows) {
    const VipsRect area{box.left, top, box.Width(), std::min(kStripRows, box.bottom - top)};
    if (vips_region_prepare(region.get(), &area) != 0) throw vips::VError();
    PutStrip(
        {VIPS_REGION_ADDR(region.get(), area.left, area.top), static_cast<ptrdiff_t>(VIPS_REGION_LSKIP(region.get())),
         top - box.top, area.width, area.height, image.bands()},
        target);
  }
}

}  // namespace

Extent TurnedSize(const Extent& stored, const Turn& turn) {
  return turn.isTransposed ? Extent{stored.height, stored.width} : stored;
}

photo::Image Turned(photo::Image image, const Turn& turn) {
  if (!turn.isTransposed && !turn.isMirrored && !turn.isUpsideDown) return image;
  const Extent size = TurnedSize({image.width, image.height}, turn);
  photo::Image turned(size.width, size.height);
  Target target = MakeTarget(turn, &turned, nullptr);
  for (int32_t y = 0; y < image.height; ++y) {
    for (int32_t x = 0; x < image.width; ++x) {
      std::copy_n(image.At(x, y), 3, turned.bgr.data() + 3 * (target.origin + x * target.right + y * target.down));
    }
  }
  return turned;
}

photo::PixelBox StoredBox(const photo::PixelBox& upright, const Turn& turn, const Extent& stored) {
  const Extent size = TurnedSize(stored, turn);
  photo::PixelBox box = upright;
  if (turn.isMirrored) box = {size.width - box.right, box.top, size.width - box.left, box.bottom};
  if (turn.isUpsideDown) box = {box.left, size.height - box.bottom, box.right, size.height - box.top};
  if (turn.isTransposed) box = {box.top, box.left, box.bottom, box.right};
  return box;
}

photo::Rectangle UprightArea(photo::Rectangle stored, const Turn& turn, const Extent& size) {
  if (turn.isTransposed) stored = {stored.top, stored.left, stored.height, stored.width};
  const Extent upright = TurnedSize(size, turn);
  if (turn.isMirrored) stored.left = upright.width - stored.Right();
  if (turn.isUpsideDown) stored.top = upright.height - stored.Bottom();
  return stored;
}

Decoder::Decoder(photo::Bytes file, const Limits& limits) : file_(std::move(file)), loader_(ChooseLoader(file_)) {
  UseLibrary(
      [&] {
        const VImage image = Load(1);
        stored_ = {image.width(), image.height()};
        CheckSize(stored_, limits.pixels);
        turn_ = TurnOf(vips_image_get_orientation(image.get_image()));
        resolution_ = ResolutionOf(image.xres(), image.yres(), vips_image_get_orientation(image.get_image()));
        hasOpacity_ = image.has_alpha();
        memory_ = MemoryFor(*loader_, image);
      },
      [this](const std::string& message) { return FailureFor(message); });
}

Extent Decoder::StoredAt(int32_t reduction) const {
  auto reduced = [&](int32_t side) {
    if (loader_->reducing == Reducing::kHalving) return side / reduction;
    return std::max(1, static_cast<int32_t>(std::rint(side * (1.0 / reduction))));
  };
  return {reduced(stored_.width), reduced(stored_.height)};
}

// When sides are halved, pixels that do not make a whole one are left out; else all of them share the side.
double Decoder::ScaleX(int32_t reduction) const {
  if (loader_->reducing == Reducing::kHalving) return 1.0 / reduction;
  return static_cast<double>(StoredAt(reduction).width) / stored_.width;
}

double Decoder::ScaleY(int32_t reduction) const {
  if (loader_->reducing == Reducing::kHalving) return 1.0 / reduction;
  return static_cast<double>(StoredAt(reduction).height) / stored_.height;
}

int32_t Decoder::NextReduction(int32_t reduction) const {
  switch (loader_->reducing) {
    case Reducing::kHalving: return reduction < kMostHalving ? reduction * 2 : 0;
    case Reducing::kAny: return reduction < kMostReduction ? reduction + 1 : 0;
    case Reducing::kNever: break;
  }
  return 0;
}

VImage Decoder::Load(int32_t reduction) const {
  constexpr int64_t kMemoryForHeader = int64_t{16} << 20;
  if (!platform::HasMemory(kMemoryForHeader)) throw MemoryFailure();
  if (std::string_view(loader_->name) == "HEIF" && !AddHeif()) {
    throw photo::Failure(photo::FailureCode::kNotAPicture,
                         "is a HEIF file, for which no reader is installed; save it as JPEG");
  }
  auto* options = VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_TRUNCATED);
  if (reduction > 1 && loader_->reducing == Reducing::kHalving) options->set("shrink", reduction);
  if (reduction > 1 && loader_->reducing == Reducing::kAny) options->set("scale", 1.0 / reduction);
  const std::unique_ptr<VipsBlob, void (*)(VipsBlob*)> blob(vips_blob_new(nullptr, file_.data(), file_.size()),
                                                            [](VipsBlob* b) { vips_area_unref(VIPS_AREA(b)); });
  return loader_->load(blob.get(), options);
}

photo::Image Decoder::DecodeOnce(int32_t reduction, const photo::PixelBox& box, const Turn& turn,
                                 photo::Mask* opacity) const {
  const VImage loaded = Load(reduction);
  if (box.right > loaded.width() || box.bottom > loaded.height())
    throw photo::Failure(photo::FailureCode::kDamagedFile, "changes its size while it is read; save it again");
  VImage pixels;
  if (opacity && loaded.has_alpha()) {
    pixels = ToColours(WithoutOpacity(loaded)).bandjoin(ToOpacity(loaded));
  } else {
    pixels = ToColours(loaded);
  }
  const Extent size = TurnedSize({box.Width(), box.Height()}, turn);
  photo::Image image(size.width, size.height);
  if (opacity) *opacity = photo::Mask(size.width, size.height);
  PullStrips(pixels, box, MakeTarget(turn, &image, opacity));
  return image;
}

photo::Image Decoder::Decode(int32_t reduction, const photo::PixelBox& box, bool isUpright,
                             photo::Mask* opacity) const {
  const int64_t result = int64_t{box.Width()} * box.Height() * (opacity ? 4 : 3);
  if (!platform::HasMemory(memory_ + result)) throw MemoryFailure();
  return UseLibrary([&] { return DecodeOnce(reduction, box, isUpright ? turn_ : Turn(), opacity); },
                    [this](const std::string& message) { return FailureFor(message); });
}

photo::Image Decoder::DecodeWhole(int32_t reduction, photo::Mask* opacity) const {
  const Extent size = StoredAt(reduction);
  return Decode(reduction, {0, 0, size.width, size.height}, true, opacity);
}

photo::Failure Decoder::FailureFor(const std::string& message) const {
  if (IsAboutMemory(message) || !platform::HasMemory(memory_)) return MemoryFailure();
  return {photo::FailureCode::kDamagedFile,
          std::string("is a damaged or truncated ") + loader_->name + " file (" + message +
              "); get it again from where it came",
          {{"format", loader_->name}}};
}

}  // namespace qx::codec
