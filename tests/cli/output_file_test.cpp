#include "cli/output_file.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "photo/base/text.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

TEST(OutputFile, AppearsWholeOrNotAtAll) {
  const TestFolder folder;
  WriteBytes(folder / "a", "old");
  {
    OutputFile file(folder / "a");
    file.Write("new and longer", 14);
    EXPECT_EQ("old", ReadBytes(folder / "a"));
  }
  EXPECT_EQ(Names{"a"}, folder.Names());
  EXPECT_EQ("old", ReadBytes(folder / "a"));
  {
    OutputFile file(folder / "a");
    file.Write("new", 3);
    file.Commit();
  }
  EXPECT_EQ(Names{"a"}, folder.Names());
  EXPECT_EQ("new", ReadBytes(folder / "a"));
  // With the rights of any new file, not those of a private temporary.
  const mode_t mask = umask(0);
  umask(mask);
  struct stat status {};
  ASSERT_EQ(0, stat((folder / "a").c_str(), &status));
  EXPECT_EQ(0666u & ~mask, status.st_mode & 0777u);
}

TEST(OutputFile, FailsWithoutATrace) {
  const TestFolder folder;
  EXPECT_THROW(OutputFile(folder / "missing/a"), Failure);
  std::filesystem::create_directory(folder / "a");
  {
    OutputFile file(folder / "a");
    EXPECT_THROW(file.Commit(), Failure);
  }
  EXPECT_EQ(Names{"a"}, folder.Names());
}

TEST(OutputFile, SeveralAppearTogetherOrNotAtAll) {
  const TestFolder folder;
  const auto write = [&folder](const char* one, const char* other) {
    OutputFile first(folder / one), second(folder / other);
    first.Write("first", 5);
    second.Write("second", 6);
    OutputFile::CommitAll({&first, &second});
  };
  WriteBytes(folder / "a", "old");
  std::filesystem::create_directory(folder / "d");
  // The one that cannot be written comes last or first; what was there stays, what was not does not appear.
  EXPECT_THROW(write("a", "d"), Failure);
  EXPECT_THROW(write("b", "d"), Failure);
  EXPECT_THROW(write("d", "b"), Failure);
  EXPECT_EQ((Names{"a", "d"}), folder.Names());
  EXPECT_EQ("old", ReadBytes(folder / "a"));
  write("a", "b");
  EXPECT_EQ((Names{"a", "b", "d"}), folder.Names());
  EXPECT_EQ("first", ReadBytes(folder / "a"));
  EXPECT_EQ("second", ReadBytes(folder / "b"));
}

TEST(OutputFile, IsRemovedByASignalThatEndsTheProgram) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    const TestFolder folder;
    const pid_t child = fork();
    if (child == 0) {
      RemoveTemporariesOnSignals();
      OutputFile first(folder / "a"), second(folder / "b");
      first.Write("half", 4);
      raise(number);
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number);
    EXPECT_EQ(Names{}, folder.Names());
  }
}

TEST(Text, PrintableKeepsUtf8AndEscapesTheRest) {
  EXPECT_EQ("plain Zo\xC3\xAB \xE5\xAF\xB8 \xF0\x9F\x93\xB7",
            Printable("plain Zo\xC3\xAB \xE5\xAF\xB8 \xF0\x9F\x93\xB7"));
  EXPECT_EQ("a\\x0Ab\\x1B[2J\\x7F", Printable("a\nb\x1B[2J\x7F"));
  // Lone bytes, an overlong form, a surrogate, above the last code point, a C1 control, a cut sequence.
  EXPECT_EQ("\\xFF \\xC0\\x80 \\xED\\xA0\\x80 \\xF4\\x90\\x80\\x80 \\xC2\\x9B \\xE5\\xAF",
            Printable("\xFF \xC0\x80 \xED\xA0\x80 \xF4\x90\x80\x80 \xC2\x9B \xE5\xAF"));
}

}  // namespace
}  // namespace qx::cli
