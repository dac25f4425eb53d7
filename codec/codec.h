// Bytes <-> pictures: photographs and masks from image files, pictures to image files. Works on bytes in memory; files
// are only ever read. Every function may be called from several threads at once, each on objects of its own. Whatever a
// call returns belongs to the caller. Pictures to write hold at least one pixel.
#ifndef QX_CODEC_CODEC_H
#define QX_CODEC_CODEC_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/base/photo_source.h"
#include "photo/document/units.h"

namespace qx::codec {

// The image library's life in the process: it starts with the first picture that is read or written and ends here.
// Hold one in main, made before any thread and destroyed after all pictures; without it the library starts all the
// same, but looks for extensions that are never used.
class ImageLibrary {
 public:
  ImageLibrary();
  ~ImageLibrary();
  // Starts the library now, with all formats: what it needs of files is read then, and no file is opened later. Throws
  // Failure.
  void LoadAll();
  ImageLibrary(const ImageLibrary&) = delete;
  ImageLibrary& operator=(const ImageLibrary&) = delete;
};

// ---- Reading ----

inline constexpr int64_t kDefaultMaxPixels = 300'000'000;
inline constexpr int64_t kHighestMaxPixels = 700'000'000;  // times three bytes still fits an int32

// What a file may ask for. Checked against its header, before anything is decoded.
struct Limits {
  int64_t pixels = kDefaultMaxPixels;  // width times height, up to kHighestMaxPixels
};

// The bytes of a file. Throws Failure: kNoFile when there is none or it is a folder or device, kCannotRead, kTooLarge
// when no picture within the limits takes so many, kOutOfMemory.
photo::Bytes ReadFileBytes(const std::filesystem::path& path, const Limits& limits = {});

class Decoder;
struct EncodedDocument;

// A picture of which not everything is opaque.
struct TransparentPicture {
  photo::Image colours;  // its own, not multiplied by the opacity
  photo::Mask opacity;   // of the same size
};

// A photograph in an image file: the first picture of a JPEG, PNG, WebP, HEIF (also AVIF) or TIFF file, told apart by
// their content, as a viewer shows it: upright (EXIF orientation), in sRGB (embedded profile; grey and CMYK too), on
// white where it is transparent, 16 bits reduced to 8.
// The file is read once. JPEG and WebP are decoded at the size and as far down as a call needs; of the other formats,
// and of small pictures, Overview keeps the decoded pixels for the next Part, which then lets go of them. An overview
// that is handed back with Keep serves all parts that it is fine enough for.
// Each call throws Failure for what is not a whole photograph: kNotAPicture, kDamagedFile (field "format"), kTooLarge
// (fields "limit" and "got", in pixels), kOutOfMemory.
class FileSource : public photo::PhotoSource {
 public:
  explicit FileSource(const std::filesystem::path& path, const Limits& limits = {});  // reads the file
  explicit FileSource(photo::Bytes file, const Limits& limits = {});
  ~FileSource() override;

  int32_t Width() override;
  int32_t Height() override;
  photo::Image Overview(int64_t leastPixels) override;
  void Keep(photo::Image overview) override;
  // Throws std::invalid_argument unless the box lies inside the photograph, is not empty and not enlarged.
  photo::Image Part(const photo::PixelBox& box, int32_t width, int32_t height) override;

  // All of it at its full size.
  photo::Image Whole();
  // The same of a picture that is transparent somewhere; nothing of one that is opaque throughout.
  std::optional<TransparentPicture> Transparent();
  // Pixels an inch, as the file says. Nothing when the file is silent or holds one of the two fillers for "unknown": 72
  // an inch (EXIF 2.32, XResolution) and 1 a millimetre. A format that counts whole pixels a metre cannot hold whole
  // pixels an inch exactly: what is that close to a whole number becomes one.
  std::optional<photo::PrintResolution> Resolution() const;
  // Of a JPEG, as its tables say; nothing for other formats and for a file whose tables cannot be read.
  std::optional<photo::JpegQuality> Quality() const;
  size_t FileSize() const;  // bytes
  // Of a JPEG: a file of the same compressed pixels, to the bit, with that resolution (1 to 65,535) and of all else
  // only the colour profile, filled up with blanks below minKb. Nothing for other formats, where the file says that it
  // is to be turned or has colours that JFIF does not know, and above maxKb. Whether the pixels can be decoded is not
  // asked.
  std::optional<EncodedDocument> Repacked(int32_t dpi, std::optional<int32_t> minKb,
                                          std::optional<int32_t> maxKb) const;

 private:
  std::unique_ptr<Decoder> decoder_;
  std::unique_ptr<photo::ImageSource> kept_;  // what Overview has decoded, for Part
  photo::Image overview_;                     // what Keep was given, or nothing
  int32_t overviewReduction_ = 1;
};

// FileSource(file, limits).Whole() and .Resolution().
photo::Image ReadImage(const std::filesystem::path& path, const Limits& limits = {});
photo::Image ReadImage(photo::Bytes file, const Limits& limits = {});
std::optional<photo::PrintResolution> ReadPrintResolution(const std::filesystem::path& path, const Limits& limits = {});

// A mask for an upright photograph of width x height pixels: the opacity of a picture that is not opaque throughout
// (such as a cut-out person), else its grey value, white for the person. Throws Failure as FileSource does, and
// kBadMask for another size and for a mask without any person in it.
photo::Mask ReadMask(const std::filesystem::path& path, int32_t width, int32_t height, const Limits& limits = {});
photo::Mask ReadMask(photo::Bytes file, int32_t width, int32_t height, const Limits& limits = {});

// ---- Writing ----

enum class ImageFormat { kPng, kJpeg };
enum class PrintFormat { kPng, kJpeg, kTiff };

// The format that the name's ending asks for, in any case: .png, .jpg, .jpeg, and for prints also .tif, .tiff.
std::optional<ImageFormat> FormatOfName(const std::filesystem::path& path);
std::optional<PrintFormat> PrintFormatOfName(const std::filesystem::path& path);

// The bytes of a PNG or JPEG (quality 95, colour at full resolution) file, without a resolution. With an opacity, a
// mask of the image's size, a transparent PNG: 8 bits, the colours as they are, not multiplied by it. Throws Failure:
// kBadMask for an opacity of another size, kBadOption for one in a JPEG.
std::vector<uint8_t> EncodeImage(const photo::Image& image, ImageFormat format, const photo::Mask& opacity = {});

// The bytes of a JPEG file to be looked at on a screen: of that quality (1 to 100), colour at full resolution. Throws
// Failure.
std::vector<uint8_t> EncodeForScreen(const photo::Image& image, int quality = 85);

// The bytes of a grey PNG file of 8 bits, which ReadMask reads. Throws Failure.
std::vector<uint8_t> EncodeMask(const photo::Mask& mask);

// The same, or a TIFF without loss, with its resolution in pixels an inch, 1 to 65,535. Throws Failure.
std::vector<uint8_t> EncodePrint(const photo::Image& image, PrintFormat format, int32_t dpi);

inline constexpr int kUsualQuality = 95, kLowestQuality = 30;

struct EncodedDocument {
  std::vector<uint8_t> bytes;
  int quality = 0;             // of a JPEG
  size_t padding = 0;          // bytes of blanks in comments, which only make the file larger
  std::string Remark() const;  // on how a size limit was met, for people; empty when none changed anything
  bool limited = false;        // the quality differs from the usual one because of a limit
};

// A finished document: the picture with its resolution and no other metadata, sRGB. A JPEG has quality 95, or the
// highest one that keeps the file at or below maxKb (with colour at half resolution where quality 80 is too large);
// below minKb the quality goes up to 100, and then comments of blanks follow the header. Throws Failure (kFileSize)
// when even quality 30 is too large, when blanks would break the ceiling, or when a PNG, whose size is what it is,
// breaks a limit. `opacity`: as for EncodeImage; empty for none.
EncodedDocument EncodeDocument(const photo::Image& image, ImageFormat format, int32_t dpi, std::optional<int32_t> minKb,
                               std::optional<int32_t> maxKb, const photo::Mask& opacity = {});

}  // namespace qx::codec

#endif  // QX_CODEC_CODEC_H
