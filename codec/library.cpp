#include "codec/library.h"

#include <atomic>
#include <mutex>
#include <string_view>

#include "codec/codec.h"
#include "codec/platform/platform.h"
#include "photo/base/text.h"

namespace qx::codec {
namespace {

constexpr int64_t kMemoryToStart = int64_t{16} << 20, kMemoryForHeif = int64_t{96} << 20;

std::atomic<bool> isStarted{false};

std::string TakeMessage() {
  const std::string_view all = vips_error_buffer();
  std::string line = photo::Printable(all.substr(0, all.find('\n')));
  vips_error_clear();
  return line.empty() ? "no reason given" : line;
}

void Start() {
  if (!platform::HasMemory(kMemoryToStart)) throw MemoryFailure();
  // Whatever matters comes back as an error; warnings on odd metadata are no concern of the user's.
  g_log_set_default_handler([](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
  if (vips_init("qx_codec") != 0) {
    throw photo::Failure(photo::FailureCode::kEngine, "the image library cannot start (" + TakeMessage() + ")");
  }
  // Nothing is read twice, and a cached operation would keep its file open and its old content alive.
  vips_cache_set_max(0);
  // Decoders and encoders of one picture are serial; threads beside them would only take memory.
  vips_concurrency_set(1);
  // The library reads many more formats than belong here, some of them with interpreters in them.
  vips_block_untrusted_set(TRUE);
  vips_operation_block_set("VipsForeignLoad", TRUE);
  for (const char* loader : {"VipsForeignLoadJpeg", "VipsForeignLoadPng", "VipsForeignLoadWebp", "VipsForeignLoadTiff"})
    vips_operation_block_set(loader, FALSE);
  isStarted = true;
}

// Those who wait for sole use come before later shared ones, which might otherwise follow each other without an end.
std::mutex turnstile;
std::shared_mutex uses;

}  // namespace

ImageLibrary::ImageLibrary() {
  platform::LeaveOutExtensions();  // AddHeif finds the one that is needed
}

ImageLibrary::~ImageLibrary() {
  if (isStarted) vips_shutdown();
}

void ImageLibrary::LoadAll() {
  StartLibrary();
  AddHeif();
}

void StartLibrary() {
  static std::once_flag once;
  std::call_once(once, Start);
}

bool AddHeif() {
  constexpr char kLoader[] = "heifload_buffer";
  static std::once_flag once;
  std::call_once(once, [&] {
    if (vips_type_find("VipsForeignLoad", kLoader) == 0) {
      if (!platform::HasMemory(kMemoryForHeif)) throw MemoryFailure();  // and try again with the next file
      const std::string folder =
          "vips-modules-" + std::to_string(VIPS_MAJOR_VERSION) + "." + std::to_string(VIPS_MINOR_VERSION);
      platform::LoadExtension(reinterpret_cast<const void*>(&vips_init), folder.c_str(), "vips-heif");
    }
    vips_operation_block_set("VipsForeignLoadHeif", FALSE);
  });
  return vips_type_find("VipsForeignLoad", kLoader) != 0;
}

bool IsAboutMemory(const std::string& message) {
  // Threads are refused where there is no room for their stacks. The C library's words for that are those for any
  // shortage, such as of processes: it passes too, and is none of the picture's faults.
  for (const char* words :
       {"out of memory", "Out of memory", "nsufficient memory", "Memory allocation", "No space for",
        "Cannot allocate memory", "unable to create thread", "creating thread", "Resource temporarily unavailable"}) {
    if (message.find(words) != std::string::npos) return true;
  }
  return false;
}

photo::Failure MemoryFailure() {
  return {photo::FailureCode::kOutOfMemory, photo::ReasonOf(std::bad_alloc())};
}

SharedUse::SharedUse() {
  const std::lock_guard<std::mutex> turn(turnstile);
  lock_ = std::shared_lock<std::shared_mutex>(uses);
}

SoleUse::SoleUse() {
  const std::lock_guard<std::mutex> turn(turnstile);
  lock_ = std::unique_lock<std::shared_mutex>(uses);
  vips_error_clear();
}

std::string SoleUse::Message() {
  return TakeMessage();
}

}  // namespace qx::codec
