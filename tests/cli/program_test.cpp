// The program as a user runs it, as far as no face is needed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "qx_idp.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

namespace fs = std::filesystem;

size_t Lines(const std::string& text) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(Program, AnswersWrongUsageWithOneLineAndStatusTwo) {
  const TestFolder folder;
  WriteBytes(folder / "file", "");
  ToVips(GradientImage(64, 64)).write_to_file((folder / "a.png").c_str());
  const std::pair<Names, std::string> cases[] = {
      {{}, "subcommand"},
      {{"bogus"}, "bogus"},
      {{"crop"}, "PHOTO is required"},
      {{"crop", "a.png"}, "--output is required"},
      {{"crop", "a.png", "-o", "out", "--frob"}, "--frob"},
      {{"crop", "a.png", "-o", "out", "--ratio", "1.01"}, "between 0 and 1"},
      {{"crop", "a.png", "-o", "out", "--ratio", "nan"}, "between 0 and 1"},
      {{"crop", "a.png", "-o", "out", "--bound", "599"}, "--bound"},
      {{"crop", "a.png", "-o", "out", "--bound", "-1"}, "--bound"},
      {{"crop", "a.png", "-o", "out", "--bound", "900", "--src-same"}, "--src-same"},
      {{"crop", "a.png", "-o", "out", "--format", "gif"}, "gif"},
      {{"crop", "a.png", "-o", "out", "--max-megapixels", "701"}, "--max-megapixels"},
      {{"crop", "a.png", "-o", "file"}, "is not a folder"},
      {{"crop", "a.png", "-o", "file/below"}, "cannot create the folder"},
      {{"inspect", "a.png", "b.png"}, "b.png"},
      {{"inspect", "a.png", "--points", "key"}, "--draw"},
      {{"inspect", "a.png", "--draw", "x.gif"}, ".png or .jpg"},
      {{"inspect", "a.png", "--draw", "missing/x.png"}, "no such folder"},
      {{"inspect", "a.png", "--draw", "./a.png"}, "would replace the photograph"}};
  for (const auto& [arguments, reason] : cases) {
    EXPECT_EQ(2, StatusOfRefusal(folder, arguments, reason)) << reason;
  }
  EXPECT_EQ((Names{"a.png", "file"}), folder.Names());
}

TEST(Program, RefusesAFolderItMayNotWriteInto) {
  if (geteuid() == 0) GTEST_SKIP() << "root may write anywhere";
  const TestFolder folder;
  fs::create_directory(folder / "out");
  fs::permissions(folder / "out", fs::perms::owner_read | fs::perms::owner_exec);
  const ProgramRun run = RunProgram(folder, {"crop", "a.png", "-o", "out"});
  EXPECT_EQ(2, run.status);
  EXPECT_TRUE(Contains(run.err, "cannot write into the folder")) << run.err;
}

TEST(Program, HelpsAndTellsItsVersion) {
  const TestFolder folder;
  const std::string version = std::to_string(QX_IDP_VERSION_MAJOR) + "." + std::to_string(QX_IDP_VERSION_MINOR) + "." +
                              std::to_string(QX_IDP_VERSION_PATCH);
  EXPECT_EQ("idphoto " + version + "\n", RunProgram(folder, {"--version"}).out);
  for (const Names& arguments : {Names{"--help"}, Names{"crop", "--help"}, Names{"inspect", "--help"}}) {
    const ProgramRun run = RunProgram(folder, arguments);
    EXPECT_EQ(0, run.status);
    EXPECT_EQ("", run.err);
    EXPECT_TRUE(Contains(run.out, "Examples:")) << run.out;
  }
}

TEST(Program, ReportsPhotographsThatFailAndWritesNothing) {
  const TestFolder folder;
  ToVips(GradientImage(300, 200)).write_to_file((folder / "no face.png").c_str());
  WriteBytes(folder / "letter\n\xFF.jpg", "Dear Sir or Madam,");
  const ProgramRun run =
      RunProgram(folder, {"crop", "no face.png", "letter\n\xFF.jpg", "missing.jpg", ".", "-o", "out"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(4u, Lines(run.err)) << run.err;
  for (const char* part : {"idphoto: no face.png: no face found; try", "idphoto: letter\\x0A\\xFF.jpg: is not a photo",
                           "idphoto: missing.jpg: no such file", "idphoto: .: is a folder"}) {
    EXPECT_TRUE(Contains(run.err, part)) << run.err;
  }
  EXPECT_EQ("", run.out);
  EXPECT_EQ(Names{}, folder.Names("out"));

  for (const char* name : {"no face.png", "missing.jpg"}) {
    const ProgramRun inspection = RunProgram(folder, {"inspect", name, "--draw", "out/d.png"});
    EXPECT_EQ(1, inspection.status) << name;
    EXPECT_EQ(1u, Lines(inspection.err)) << inspection.err;
  }
}

TEST(Program, FailsWhenItsReportCannotBeWritten) {
  const TestFolder folder;
  ToVips(GradientImage(300, 200)).write_to_file((folder / "a.png").c_str());
  // The shell is only there for the redirection.
  const std::string command =
      std::string("\"") + QX_IDPHOTO + "\" --version > /dev/full 2> \"" + (folder / "err").native() + "\"";
  EXPECT_NE(0, std::system(command.c_str()));
  EXPECT_TRUE(Contains(ReadBytes(folder / "err"), "standard output"));
}

}  // namespace
}  // namespace qx::cli
