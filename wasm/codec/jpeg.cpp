#include "wasm/codec/jpeg.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include <jerror.h>
#include <jpeglib.h>

#include "wasm/codec/file_facts.h"

namespace qx::codec {
namespace {

constexpr char kName[] = "JPEG";

// libjpeg's way out of an error must not return; an exception passes its frames, which own nothing.
[[noreturn]] void OnError(j_common_ptr library) {
  if (library->err->msg_code == JERR_OUT_OF_MEMORY) throw std::bad_alloc();
  throw Damaged(kName);
}

void OnWarning(j_common_ptr library, int level) {
  // Data that ends too early or does not add up: half a photograph is none.
  if (level < 0) OnError(library);
}

jpeg_error_mgr ErrorManager() {
  jpeg_error_mgr manager;
  jpeg_std_error(&manager);
  manager.error_exit = OnError;
  manager.emit_message = OnWarning;
  manager.output_message = [](j_common_ptr) {};
  return manager;
}

struct Compressor {
  Compressor() {
    library.err = &errors;
    jpeg_create_compress(&library);
    jpeg_mem_dest(&library, &bytes, &size);
  }
  ~Compressor() {
    jpeg_destroy_compress(&library);
    std::free(bytes);
  }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  jpeg_error_mgr errors = ErrorManager();
  jpeg_compress_struct library{};
  unsigned char* bytes = nullptr;
  unsigned long size = 0;  // libjpeg's type
};

struct Decompressor {
  Decompressor() {
    library.err = &errors;
    jpeg_create_decompress(&library);
  }
  ~Decompressor() { jpeg_destroy_decompress(&library); }
  Decompressor(const Decompressor&) = delete;
  Decompressor& operator=(const Decompressor&) = delete;

  jpeg_error_mgr errors = ErrorManager();
  jpeg_decompress_struct library{};
};

}  // namespace

std::vector<uint8_t> WriteJpeg(const photo::Bytes& samples, int32_t width, int32_t height, int quality,
                               bool isFullColour, bool isOptimised) {
  Compressor compressor;
  jpeg_compress_struct& library = compressor.library;
  library.image_width = static_cast<JDIMENSION>(width);
  library.image_height = static_cast<JDIMENSION>(height);
  library.input_components = 3;
  library.in_color_space = JCS_RGB;
  jpeg_set_defaults(&library);
  jpeg_set_quality(&library, quality, TRUE);
  library.optimize_coding = isOptimised ? TRUE : FALSE;
  library.write_JFIF_header = FALSE;
  library.comp_info[0].h_samp_factor = library.comp_info[0].v_samp_factor = isFullColour ? 1 : 2;
  jpeg_start_compress(&library, TRUE);
  const size_t rowBytes = static_cast<size_t>(width) * 3;
  while (library.next_scanline < library.image_height) {
    JSAMPROW row = const_cast<JSAMPROW>(samples.data() + library.next_scanline * rowBytes);
    jpeg_write_scanlines(&library, &row, 1);
  }
  jpeg_finish_compress(&library);
  return {compressor.bytes, compressor.bytes + compressor.size};
}

bool IsJpeg(const photo::Bytes& file) {
  return file.size() >= 3 && file[0] == 0xFF && file[1] == 0xD8 && file[2] == 0xFF;
}

Pixels ReadJpeg(const photo::Bytes& file, int64_t mostPixels) {
  if (FactsOf(file).orientation > 1 || HasOtherProfile(file)) throw ForTheBrowser(kName);
  Decompressor decompressor;
  jpeg_decompress_struct& library = decompressor.library;
  jpeg_mem_src(&library, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&library, TRUE);
  CheckSize(library.image_width, library.image_height, mostPixels);
  const bool isKnown = library.jpeg_color_space == JCS_YCbCr || library.jpeg_color_space == JCS_GRAYSCALE;
  if (!isKnown) throw ForTheBrowser(kName);
  library.out_color_space = JCS_RGB;
  jpeg_start_decompress(&library);
  const size_t rowBytes = static_cast<size_t>(library.output_width) * 3;
  photo::Bytes samples(rowBytes * library.output_height);
  while (library.output_scanline < library.output_height) {
    JSAMPROW row = samples.data() + library.output_scanline * rowBytes;
    jpeg_read_scanlines(&library, &row, 1);
  }
  jpeg_finish_decompress(&library);
  return PixelsOf(samples.data(), static_cast<int32_t>(library.output_width),
                  static_cast<int32_t>(library.output_height), 3);
}

}  // namespace qx::codec
