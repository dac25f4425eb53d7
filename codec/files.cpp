// What holds of files by their names, whatever reads and writes pictures.
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <new>
#include <string>
#include <system_error>

#include "codec/codec.h"
#include "codec/platform/platform.h"
#include "photo/base/failure.h"

namespace qx::codec {
namespace fs = std::filesystem;
namespace {

// In lower case.
std::string EndingOf(const fs::path& path) {
  std::string ending = path.extension().u8string();
  for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return ending;
}

[[noreturn]] void FailToRead(int error) {
  throw photo::Failure(photo::FailureCode::kCannotRead,
                       "cannot be opened (" + std::generic_category().message(error) + "); check its permissions");
}

// The size of the regular file that is open. Throws Failure for everything else.
uint64_t CheckKind(platform::FileToRead* file) {
  auto kind = platform::FileKind::kOther;
  uint64_t size = 0;
  if (!file->Look(&kind, &size)) FailToRead(file->Error());
  if (kind == platform::FileKind::kFolder)
    throw photo::Failure(photo::FailureCode::kNoFile, "is a folder; name the photographs in it");
  if (kind != platform::FileKind::kRegular)
    throw photo::Failure(photo::FailureCode::kNoFile, "is not a file; name a photograph");
  return size;
}

// Reads `size` bytes, or up to the end of a file that has become shorter.
photo::Bytes ReadAll(platform::FileToRead* file, size_t size) {
  photo::Bytes bytes(size);
  size_t done = 0;
  while (done < size) {
    const ptrdiff_t count = file->Read(bytes.data() + done, size - done);
    if (count < 0) FailToRead(file->Error());
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  bytes.resize(done);
  return bytes;
}

}  // namespace

photo::Bytes ReadFileBytes(const fs::path& path, const Limits& limits) {
  // Sixteen bytes a pixel are more than any of the formats takes for a picture; the rest is for what else files carry.
  constexpr uint64_t kPixelBytes = 16, kOtherBytes = uint64_t{64} << 20;
  platform::FileToRead file(path);
  if (const int error = file.Error(); error != 0) {
    if (error == ENOENT || error == ENOTDIR)
      throw photo::Failure(photo::FailureCode::kNoFile, "no such file; check the name");
    if (error == ENXIO) throw photo::Failure(photo::FailureCode::kNoFile, "is not a file; name a photograph");
    FailToRead(error);
  }
  const uint64_t size = CheckKind(&file);
  if (size > static_cast<uint64_t>(limits.pixels) * kPixelBytes + kOtherBytes)
    throw photo::Failure(photo::FailureCode::kTooLarge,
                         "takes more bytes than any photograph within the limits; name a photograph");
  try {
    return ReadAll(&file, static_cast<size_t>(size));
  } catch (const std::bad_alloc&) {
    throw photo::Failure(photo::FailureCode::kOutOfMemory, photo::ReasonOf(std::bad_alloc()));
  }
}

FileSource::FileSource(const fs::path& path, const Limits& limits) : FileSource(ReadFileBytes(path, limits), limits) {}

photo::Image ReadImage(const fs::path& path, const Limits& limits) {
  return FileSource(path, limits).Whole();
}

photo::Mask ReadMask(const fs::path& path, int32_t width, int32_t height, const Limits& limits) {
  return ReadMask(ReadFileBytes(path, limits), width, height, limits);
}

std::optional<photo::PrintResolution> ReadPrintResolution(const fs::path& path, const Limits& limits) {
  return FileSource(path, limits).Resolution();
}

std::optional<ImageFormat> FormatOfName(const fs::path& path) {
  const std::string ending = EndingOf(path);
  if (ending == ".png") return ImageFormat::kPng;
  if (ending == ".jpg" || ending == ".jpeg") return ImageFormat::kJpeg;
  return std::nullopt;
}

std::optional<PrintFormat> PrintFormatOfName(const fs::path& path) {
  const std::string ending = EndingOf(path);
  if (ending == ".tif" || ending == ".tiff") return PrintFormat::kTiff;
  const auto format = FormatOfName(path);
  if (!format) return std::nullopt;
  return *format == ImageFormat::kJpeg ? PrintFormat::kJpeg : PrintFormat::kPng;
}

}  // namespace qx::codec
