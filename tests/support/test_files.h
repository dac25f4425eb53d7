// What the tests of the program share: folders that clean up, pictures to write, and running the program.
#ifndef QX_TESTS_SUPPORT_TEST_FILES_H
#define QX_TESTS_SUPPORT_TEST_FILES_H

#include <filesystem>
#include <string>
#include <vector>
#include <vips/vips8>

#include "codec/codec.h"
#include "photo/base/failure.h"

namespace qx::test {

using Names = std::vector<std::string>;

// A folder that disappears with its content.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& Path() const { return path_; }
  // The names in the folder, sorted.
  qx::test::Names Names(const std::string& below = "") const;

 private:
  std::filesystem::path path_;
};

std::string ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, const std::string& bytes);
void WriteEncoded(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);

// A smooth picture without any symmetry (red grows to the right, green downwards), and the same for libvips (RGB).
photo::Image GradientImage(int width, int height);
vips::VImage ToVips(const photo::Image& image);
// Writes it to a file of that name, which says the format, and reads that.
photo::Image Reread(const vips::VImage& image, const std::string& name = "a.png", vips::VOption* options = nullptr);

struct ProgramRun {
  int status;  // exit status, 128 + number for a signal
  std::string out, err;
};
// Whether the machine has pseudo-terminals: a bare folder entered with chroot has none.
bool HasTerminals();
// Runs idphoto with the arguments in the folder. With `terminal`, its standard error is a terminal.
ProgramRun RunProgram(const TestFolder& folder, const Names& arguments, bool terminal = false);
// The same where idphoto must refuse: with one line, which has the reason in it, and nothing else. Returns its status.
int StatusOfRefusal(const TestFolder& folder, const Names& arguments, const std::string& reason);

Names Joined(Names first, const Names& second);
bool Contains(const std::string& text, const std::string& part);

// What a call that throws a Failure says.
template <typename Call>
std::string FailureOf(Call call) {
  try {
    call();
  } catch (const photo::Failure& failure) {
    return failure.what();
  }
  return "(no failure)";
}

}  // namespace qx::test

#endif  // QX_TESTS_SUPPORT_TEST_FILES_H
