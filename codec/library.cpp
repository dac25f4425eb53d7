#include "codec/library.h"

#include <dlfcn.h>
#include <gmodule.h>
#include <sys/mman.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string_view>

#include "codec/codec.h"
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
  if (!HasMemory(kMemoryToStart)) throw MemoryFailure();
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
  // The library looks for extensions below this folder and loads all that it finds, which takes longer than all the
  // rest. There are none in a place that is no folder; AddHeif finds the one that is needed.
  setenv("VIPSHOME", "/dev/null", 1);
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

void AddHeif() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (vips_type_find("VipsForeignLoad", "heifload_buffer") == 0) {
      if (!HasMemory(kMemoryForHeif)) throw MemoryFailure();  // and try again with the next file
      Dl_info library{};
      if (dladdr(reinterpret_cast<const void*>(&vips_init), &library) == 0) return;
      const std::string folder =
          "vips-modules-" + std::to_string(VIPS_MAJOR_VERSION) + "." + std::to_string(VIPS_MINOR_VERSION);
      const auto name = std::filesystem::path(library.dli_fname).parent_path() / folder / "vips-heif.so";
      g_module_open(name.c_str(), G_MODULE_BIND_LAZY);  // stays for good: the library holds on to its functions
    }
    vips_operation_block_set("VipsForeignLoadHeif", FALSE);
  });
}

bool HasMemory(int64_t bytes) {
  void* const place =
      mmap(nullptr, static_cast<size_t>(bytes), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (place == MAP_FAILED) return false;
  munmap(place, static_cast<size_t>(bytes));
  return true;
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
