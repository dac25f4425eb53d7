// The image library, as the files of this folder use it.
#ifndef QX_CODEC_LIBRARY_H
#define QX_CODEC_LIBRARY_H

#include <cstdint>
#include <functional>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string>
#include <vips/vips8>

#include "photo/base/failure.h"

namespace qx::codec {

// Starts the library unless it runs. Throws Failure.
void StartLibrary();

// Adds the reader of HEIF files unless it is there; false where it is not installed. Throws Failure.
bool AddHeif();

// True for what the library and its decoders say when they are refused memory or threads.
bool IsAboutMemory(const std::string& message);

photo::Failure MemoryFailure();

// The library collects what it has to say in one place of the process, where the words on one file could be taken for
// those on another. So everything that calls it holds a SharedUse, and what has failed is done once more under SoleUse,
// for the words on it alone.
class SharedUse {
 public:
  SharedUse();

 private:
  std::shared_lock<std::shared_mutex> lock_;
};

class SoleUse {
 public:
  SoleUse();
  // The first line of what the library has said since this use began, or since the last call.
  std::string Message();

 private:
  std::unique_lock<std::shared_mutex> lock_;
};

// Does work that calls the library, and when that fails, throws what `failure` makes of the library's words on it. The
// work may run twice.
template <typename Work>
auto UseLibrary(Work work, const std::function<photo::Failure(const std::string& message)>& failure) {
  StartLibrary();
  try {
    try {
      const SharedUse use;
      return work();
    } catch (const vips::VError&) {
    }
    SoleUse use;
    try {
      return work();
    } catch (const vips::VError&) {
      throw failure(use.Message());
    }
  } catch (const std::bad_alloc&) {
    throw MemoryFailure();
  }
}

}  // namespace qx::codec

#endif  // QX_CODEC_LIBRARY_H
