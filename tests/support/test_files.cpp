#include "support/test_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

// The encoder that writes HEIF files for the tests forgets some memory at the end of the program.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {  // NOLINT
  return "leak:libx265";
}

namespace qx::test {
namespace fs = std::filesystem;

TestFolder::TestFolder() {
  std::string name = fs::temp_directory_path() / "idphoto-test-XXXXXX";
  path_ = mkdtemp(name.data());
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

Names TestFolder::Names(const std::string& below) const {
  qx::test::Names names;
  for (const auto& entry : fs::directory_iterator(path_ / below)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

std::string ReadBytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteBytes(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

void WriteEncoded(const fs::path& path, const std::vector<uint8_t>& bytes) {
  WriteBytes(path, {bytes.begin(), bytes.end()});
}

photo::Image GradientImage(int width, int height) {
  photo::Image image{width, height, {}};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      image.bgr.push_back(90);
      image.bgr.push_back(static_cast<uint8_t>(20 + 200 * y / height));
      image.bgr.push_back(static_cast<uint8_t>(30 + 200 * x / width));
    }
  }
  return image;
}

vips::VImage ToVips(const photo::Image& image) {
  const vips::VImage bgr(vips_image_new_from_memory_copy(image.bgr.data(), image.bgr.size(), image.width, image.height,
                                                         3, VIPS_FORMAT_UCHAR));
  return vips::VImage::bandjoin({bgr[2], bgr[1], bgr[0]})
      .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

photo::Image Reread(const vips::VImage& image, const std::string& name, vips::VOption* options) {
  const TestFolder folder;
  image.write_to_file((folder / name).c_str(), options);
  return codec::ReadImage(folder / name);
}

bool HasTerminals() {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  if (terminal < 0) return false;
  close(terminal);
  return true;
}

ProgramRun RunProgram(const TestFolder& folder, const Names& arguments, bool terminal) {
  std::vector<char*> argv{const_cast<char*>(QX_IDPHOTO)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const TestFolder streams;
  int errors[2];
  if ((terminal ? openpty(&errors[0], &errors[1], nullptr, nullptr, nullptr) : pipe(errors)) != 0) std::abort();
  const pid_t child = fork();
  if (child == 0) {
    const int out = open((streams / "out").c_str(), O_WRONLY | O_CREAT, 0600);
    dup2(out, STDOUT_FILENO);
    dup2(errors[1], STDERR_FILENO);
    close(errors[0]);
    close(errors[1]);
    if (chdir(folder.Path().c_str()) == 0) execv(QX_IDPHOTO, argv.data());
    _exit(127);
  }
  close(errors[1]);
  ProgramRun run;
  char buffer[4096];
  for (ssize_t size; (size = read(errors[0], buffer, sizeof buffer)) > 0;) {
    run.err.append(buffer, static_cast<size_t>(size));
  }
  close(errors[0]);
  int status = 0;
  waitpid(child, &status, 0);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  run.out = ReadBytes(streams / "out");
  return run;
}

int StatusOfRefusal(const TestFolder& folder, const Names& arguments, const std::string& reason) {
  const ProgramRun run = RunProgram(folder, arguments);
  EXPECT_EQ(1, std::count(run.err.begin(), run.err.end(), '\n')) << run.err;
  EXPECT_EQ(0u, run.err.rfind("idphoto: ", 0)) << run.err;
  EXPECT_TRUE(Contains(run.err, reason)) << run.err;
  EXPECT_EQ("", run.out) << reason;
  return run.status;
}

Names Joined(Names first, const Names& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace qx::test
