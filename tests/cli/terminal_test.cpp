// What a user at a terminal sees: progress, interrupts and the words for failures.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <new>

#include "cli/platform/interrupt.h"
#include "cli/progress.h"
#include "cli/wording.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using photo::Failure;
using photo::FailureCode;

// Makes standard error a terminal of so many columns, and gives what was written there.
class Terminal {
 public:
  explicit Terminal(unsigned short columns) : before_(dup(STDERR_FILENO)) {
    winsize size{};
    size.ws_col = columns;
    int inside = -1;
    works_ = openpty(&outside_, &inside, nullptr, nullptr, &size) == 0;
    if (!works_) return;
    dup2(inside, STDERR_FILENO);
    close(inside);
    fcntl(outside_, F_SETFL, O_NONBLOCK);
  }
  ~Terminal() {
    dup2(before_, STDERR_FILENO);
    close(before_);
    if (works_) close(outside_);
  }
  bool Works() const { return works_; }
  std::string Take() const {
    std::string text;
    char buffer[512];
    for (ssize_t size; (size = read(outside_, buffer, sizeof buffer)) > 0;) {
      text.append(buffer, static_cast<size_t>(size));
    }
    return text;
  }

 private:
  const int before_;
  int outside_ = -1;
  bool works_ = false;
};

TEST(Progress, DrawsABarThatFitsTheTerminalAndKeepsMessagesApart) {
  const Terminal terminal(60);
  if (!terminal.Works()) GTEST_SKIP() << "no pseudo-terminals here";
  testing::internal::CaptureStdout();
  {
    Progress progress(4);
    progress.Begin(2, "short.jpg");
    EXPECT_EQ("\r\033[K[############............] 3/4 short.jpg", terminal.Take());
    // Of a long name the end is shown, and no character of it in part: 59 columns are free.
    progress.Begin(3, "in/a very long folder/\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9-2041.jpg");
    const std::string bar = terminal.Take();
    EXPECT_EQ("\r\033[K[##################......] 4/4 ", bar.substr(0, 35));
    EXPECT_GE(59u, bar.size() - 4);
    EXPECT_TRUE(Contains(bar, "-2041.jpg")) << bar;
    EXPECT_NE(0x80, static_cast<unsigned char>(bar[35]) & 0xC0);
    progress.Error("x.jpg: is bad");
    EXPECT_EQ("\r\033[Kidphoto: x.jpg: is bad\r\n" + bar.substr(4), terminal.Take());
    progress.Outcome("y.jpg: done");
    progress.Summary("4 photographs made");  // nothing was kept back, so nothing is added up
  }
  EXPECT_EQ("\r\033[K", terminal.Take());
  EXPECT_EQ("y.jpg: done\n", testing::internal::GetCapturedStdout());
}

TEST(Progress, HasNoBarForOnePhotographNorWithoutATerminal) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  {
    Progress progress(7);
    progress.Begin(0, "a.jpg");
    progress.Error("a.jpg: is bad");
    progress.Outcome("b.jpg: done");
  }
  EXPECT_EQ("idphoto: a.jpg: is bad\n", testing::internal::GetCapturedStderr());
  EXPECT_EQ("b.jpg: done\n", testing::internal::GetCapturedStdout());
  const Terminal terminal(60);
  if (!terminal.Works()) return;
  {
    Progress progress(1);
    progress.Begin(0, "a.jpg");
  }
  EXPECT_EQ("", terminal.Take());
}

volatile sig_atomic_t interrupts = 0;
void CountInterrupt(int) {
  interrupts = interrupts + 1;
}

TEST(Interrupt, NotesTheFirstAndLeavesTheSecondToWhatWasThereBefore) {
  struct sigaction counting = {}, before = {}, now = {};
  counting.sa_handler = CountInterrupt;
  sigaction(SIGINT, &counting, &before);
  testing::internal::CaptureStderr();
  {
    const InterruptWatch watch;
    EXPECT_FALSE(watch.Interrupted());
    raise(SIGINT);
    EXPECT_TRUE(watch.Interrupted());
    EXPECT_EQ(0, interrupts);
    raise(SIGINT);
    EXPECT_EQ(1, interrupts);
  }
  {
    const InterruptWatch another;
    EXPECT_FALSE(another.Interrupted());  // it starts anew
  }
  raise(SIGINT);
  EXPECT_EQ(2, interrupts);
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(1, std::count(said.begin() + 1, said.end(), '\n')) << said;
  // Ignored interrupts (nohup) stay ignored.
  signal(SIGINT, SIG_IGN);
  {
    const InterruptWatch watch;
    raise(SIGINT);
    EXPECT_FALSE(watch.Interrupted());
  }
  sigaction(SIGINT, &before, &now);
  EXPECT_EQ(SIG_IGN, now.sa_handler);
}

TEST(Wording, AddsWhatOptionsCanDo) {
  const std::pair<Failure, std::string> cases[] = {
      {{FailureCode::kUnknownPreset, "no x"}, "no x; idphoto presets lists them"},
      {{FailureCode::kUnknownPreset, "no x; did you mean y?", {{"similar", "y"}}}, "no x; did you mean y?"},
      {{FailureCode::kNoSuchFace, "t"}, "t; idphoto inspect --draw shows their numbers"},
      {{FailureCode::kNoFit, "t"}, "t"},
      {{FailureCode::kNoFit, "t", {{"nearest", 1.0}, {"bound", "head"}, {"got", 0.5}, {"bound", "face_width"}}},
       "t; use --head or --face-width; --relax takes this nearest one"},
      {{FailureCode::kNoFit, "t", {{"moved", 1.0}, {"nearest", 1.0}, {"bound", "head"}}},
       "t; --relax takes it all the same"},
      {{FailureCode::kNoFit, "t", {{"moved", 1.0}}}, "t"},
      {{FailureCode::kNoFit, "t", {{"what", "pair"}}}, "t, or try --relax"},
      {{FailureCode::kNoFit, "t", {{"what", "pair"}, {"relaxed", 1.0}}}, "t"},
      {{FailureCode::kForbiddenEdit, "t", {{"edit", "background"}}}, "t; leave out --background, or add --force"},
      {{FailureCode::kForbiddenEdit, "t", {{"edit", "retouching"}}}, "t; leave out the retouching, or add --force"},
      {{FailureCode::kTooLarge, "t", {{"limit", 1.0}}}, "t, or raise --max-megapixels"},
      {{FailureCode::kTooLarge, "t"}, "t"},
      {{FailureCode::kNoFace, "t"}, "t"}};
  for (const auto& [failure, text] : cases) EXPECT_EQ(text, Wording(failure));
  EXPECT_TRUE(Contains(Wording(std::bad_alloc()), "not enough memory"));
  EXPECT_EQ("a\\x0Ab", Wording(std::runtime_error("a\nb")));

  const Failure about = About("x.jpg", Failure(FailureCode::kNoFit, "t", {{"nearest", 1.0}}));
  EXPECT_STREQ("x.jpg: t", about.what());
  EXPECT_EQ(FailureCode::kNoFit, about.Code());
  EXPECT_EQ(1u, about.Fields().size());
  EXPECT_EQ(FailureCode::kOutOfMemory, About("x", std::bad_alloc()).Code());
}

}  // namespace
}  // namespace qx::cli
