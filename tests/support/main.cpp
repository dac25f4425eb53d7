#include <gtest/gtest.h>

#include "codec/image_file.h"

// The encoder that writes HEIF files for the tests forgets some memory at the end of the program.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {  // NOLINT
  return "leak:libx265";
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const qx::codec::ImageLibrary images(argv[0]);
  return RUN_ALL_TESTS();
}
