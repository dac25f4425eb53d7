#include <gtest/gtest.h>

#include "codec/codec.h"
#include "codec/library.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const qx::codec::ImageLibrary images;
  qx::codec::StartLibrary();
  qx::codec::AddHeif();  // the tests write such files
  return RUN_ALL_TESTS();
}
