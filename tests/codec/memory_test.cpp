// Short memory: a picture or a failure that says so, at every limit.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "support/test_files.h"

namespace qx::codec {
namespace {

using namespace qx::test;
using vips::VImage;

// What the program of its own answers that reads the file with so many megabytes more than it starts with.
std::pair<int, std::string> AnswerWith(int megabytes, const std::filesystem::path& file, const std::string& word = "") {
  const std::string command =
      std::string(QX_READ_UNDER_LIMIT) + " '" + file.native() + "' " + std::to_string(megabytes) + " " + word + " 2>&1";
  FILE* const pipe = popen(command.c_str(), "r");
  char text[512];
  const std::string said(text, fread(text, 1, sizeof text, pipe));
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), said};
}

TEST(CodecMemory, ShortMemoryIsNeverTakenForDamage) {
#ifdef QX_SANITIZED
  GTEST_SKIP() << "sanitizers take address space of their own";
#endif
  const TestFolder folder;
  const VImage picture = ToVips(GradientImage(2000, 1500));
  const VImage wide = picture.icc_transform("p3", VImage::option()->set("input_profile", "srgb"));
  auto path = [&](const char* name) { return (folder / name).native(); };
  wide.write_to_file(path("wide.jpg").c_str());
  picture.write_to_file(path("progressive.jpg").c_str(), VImage::option()->set("interlace", true));
  picture.write_to_file(path("interlaced.png").c_str(), VImage::option()->set("interlace", true));
  picture.write_to_file(path("a.webp").c_str());
  picture.write_to_file(path("a.tif").c_str());
  picture.write_to_file(path("a.heic").c_str());
  for (const std::string& name : folder.Names()) {
    const auto [status, expected] = AnswerWith(4000, folder / name);
    ASSERT_EQ(0, status) << name << expected;
    int shortOnes = 0, pictures = 0;
    for (int megabytes = 1; megabytes <= 400; megabytes += megabytes < 120 ? 11 : 70) {
      const auto [answer, said] = AnswerWith(megabytes, folder / name);
      EXPECT_TRUE(answer == 1 || (answer == 0 && said == expected))
          << name << " " << megabytes << ": " << answer << said;
      ++(answer == 0 ? pictures : shortOnes);
    }
    EXPECT_TRUE(pictures > 0 && shortOnes > 0) << name;
    // Too little for a thread's stack is short memory as well.
    for (const int megabytes : {2, 4, 6, 8, 12, 16}) {
      const auto [answer, said] = AnswerWith(megabytes, folder / name, "write");
      EXPECT_TRUE(answer == 1 || (answer == 0 && said == expected)) << name << " " << megabytes << ": " << said;
    }
  }
}

}  // namespace
}  // namespace qx::codec
