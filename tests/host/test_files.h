// What the tests of the program share: folders that clean up, pictures to write, and running the program.
#ifndef QX_TESTS_HOST_TEST_FILES_H
#define QX_TESTS_HOST_TEST_FILES_H

#include <filesystem>
#include <string>
#include <vector>
#include <vips/vips8>

#include "host/image_file.h"

namespace qx::host {

// A folder that disappears with its content.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& Path() const { return path_; }
  // The names in the folder, sorted.
  std::vector<std::string> Names(const std::string& below = "") const;

 private:
  std::filesystem::path path_;
};

std::string ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, const std::string& bytes);

// A smooth picture without any symmetry (red grows to the right, green downwards), and the same for libvips (RGB).
Image GradientImage(int width, int height);
vips::VImage ToVips(const Image& image);

struct ProgramRun {
  int status;  // exit status, 128 + number for a signal
  std::string out, err;
};
// Whether the machine has pseudo-terminals: a bare folder entered with chroot has none.
bool HasTerminals();
// Runs idphoto with the arguments in the folder. With `terminal`, its standard error is a terminal.
ProgramRun RunProgram(const TestFolder& folder, const std::vector<std::string>& arguments, bool terminal = false);

}  // namespace qx::host

#endif  // QX_TESTS_HOST_TEST_FILES_H
