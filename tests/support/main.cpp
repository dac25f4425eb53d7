#include <gtest/gtest.h>

#include "codec/codec.h"
#include "codec/library.h"

// The encoder that writes HEIF files for the tests forgets some memory at the end of the program.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {  // NOLINT
  return "leak:libx265";
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const qx::codec::ImageLibrary images;
  qx::codec::StartLibrary();
  qx::codec::AddHeif();  // the tests write such files
  return RUN_ALL_TESTS();
}
