#include "queue/folder_source.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>

#include "queue/folder_desk.h"

namespace qx::queue {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Names = std::vector<std::string>;

Job SampleJob(const std::string& id, const std::string& what = "de-passport") {
  return {id, "/photos/" + id + ".jpg", std::string(64, 'a'), "/made/" + id + ".jpg", {{"preset", what}}};
}

Answer AnswerTo(const Job& job) {
  return {job.id, job.photograph, job.output, true, "", {}, {}, 0.5, "A"};
}

class FolderSourceTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = fs::temp_directory_path() / "queue-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(name.data()));
    path_ = name;
  }
  void TearDown() override { fs::remove_all(path_); }

  FolderSettings Settings() const {
    FolderSettings settings;
    settings.path = path_;
    settings.lookRound = 0ms;
    settings.look = 1ms;
    return settings;
  }
  void Submit(const Names& ids, const std::string& what = "de-passport") const {
    FolderDesk desk(path_);
    for (const std::string& id : ids) EXPECT_TRUE(desk.Submit(SampleJob(id, what)));
  }
  Names In(const std::string& folder) const {
    Names names;
    for (const auto& entry : fs::directory_iterator(path_ / folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
  // Why each job is dead, and how often each was answered.
  std::map<std::string, std::string> Fetch(std::multiset<std::string>* answered) const {
    std::map<std::string, std::string> dead;
    FolderDesk(path_).Collect({[&](const Answer& answer) { answered->insert(answer.id); },
                               [&](const Dead& lost) { dead[lost.id] = lost.reason; }});
    return dead;
  }
  void ExpectNothingLeft() const {
    for (const char* folder : {"jobs", "claims", "answers", "dead", "temporary"})
      EXPECT_EQ(Names(), In(folder)) << folder;
  }

  // Answers until nothing is left. A job whose option is "poison" ends the process.
  static void Work(FolderSettings settings) {
    FolderSource source(std::move(settings));
    while (true) {
      const auto claim = source.Take(0ms);
      if (!claim) {
        const SourceCounts counts = source.Count();
        if (counts.waiting + counts.claimed == 0) return;
        continue;
      }
      if (claim->job.options.at(0).second == "poison") raise(SIGKILL);
      source.Finish(*claim, AnswerTo(claim->job));
    }
  }
  template <typename Call>
  static pid_t Fork(Call call) {
    const pid_t child = fork();
    if (child != 0) return child;
    try {
      call();
    } catch (...) {
      _exit(1);
    }
    _exit(0);
  }
  // Its wait status.
  static int End(pid_t child) {
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return status;
  }

  fs::path path_;
};

TEST_F(FolderSourceTest, JobsAreTakenOnceAndAnsweredOrBuried) {
  Submit({"a", "b", "c", "d"});
  EXPECT_FALSE(FolderDesk(path_).Submit(SampleJob("a")));
  FolderSource one(Settings()), other(Settings());
  const auto a = one.Take(0ms), b = other.Take(0ms), c = one.Take(0ms), d = other.Take(0ms);
  ASSERT_TRUE(a && b && c && d);
  EXPECT_EQ((std::set<std::string>{"a", "b", "c", "d"}),
            (std::set<std::string>{a->job.id, b->job.id, c->job.id, d->job.id}));
  EXPECT_EQ(1, a->tries);
  EXPECT_FALSE(one.Take(5ms));
  EXPECT_EQ(4u, one.Count().claimed);
  EXPECT_FALSE(FolderDesk(path_).Submit(SampleJob("a")));

  one.Finish(*a, AnswerTo(a->job));
  other.Bury(*b, "has no\nend");
  one.Return(*c);
  auto again = one.Take(0ms);
  ASSERT_TRUE(again && again->tries == 1);
  for (const int tries : {2, 3}) {
    one.GiveBack(*again, "the disk is full");
    again = one.Take(0ms);
    ASSERT_TRUE(again && again->tries == tries);
  }
  one.GiveBack(*again, "the disk is full");
  other.Finish(*d, AnswerTo(d->job));
  EXPECT_EQ(0u, one.Count().claimed + one.Count().waiting);

  std::multiset<std::string> answered;
  const auto dead = Fetch(&answered);
  EXPECT_EQ((std::multiset<std::string>{a->job.id, d->job.id}), answered);
  ASSERT_EQ(2u, dead.size());
  EXPECT_EQ("has no\\x0Aend", dead.at(b->job.id));
  EXPECT_EQ("the disk is full", dead.at(c->job.id));
  ExpectNothingLeft();
}

TEST_F(FolderSourceTest, WhatIsNoJobIsBuriedAndOtherFilesAreLeftAlone) {
  FolderSource source(Settings());
  const std::string text = ToText(SampleJob("right"));
  const auto put = [&](const std::string& name, const std::string& content) {
    std::ofstream(path_ / "jobs" / name) << content;
  };
  put("garbage.0.json", "Dear Sir or Madam,");
  put("endless.0.json", std::string(1 << 20, ' ') + text);
  put("other-name.0.json", text);
  put("tired.3.json", text);
  ASSERT_EQ(0, mkfifo((path_ / "jobs/pipe.0.json").c_str(), 0600));
  fs::create_directory(path_ / "jobs/folder.0.json");
  fs::create_symlink(path_ / "idphoto-queue", path_ / "jobs/link.0.json");
  put("notes.txt", "mine");
  put("Capital.0.json", text);
  EXPECT_FALSE(source.Take(0ms));
  EXPECT_EQ((Names{"Capital.0.json", "folder.0.json", "link.0.json", "notes.txt", "pipe.0.json"}), In("jobs"));
  EXPECT_EQ(0u, source.Count().claimed + source.Count().waiting);
  std::multiset<std::string> answered;
  const auto dead = Fetch(&answered);
  ASSERT_EQ(4u, dead.size());
  EXPECT_EQ("is no job: no JSON", dead.at("garbage"));
  EXPECT_EQ("is no job: longer than 4096 bytes", dead.at("endless"));
  EXPECT_EQ("is a job of another name", dead.at("other-name"));

  // What is no answer neither stops the others nor is lost.
  std::ofstream(path_ / "answers/odd.json") << "{}";
  std::ofstream(path_ / "answers/right.json") << ToText(AnswerTo(SampleJob("right")));
  std::string why;
  const size_t count =
      FolderDesk(path_).Collect({[&](const Answer& answer) { answered.insert(answer.id); },
                                 [](const Dead&) { ADD_FAILURE(); }, [&](const std::string& line) { why = line; }});
  EXPECT_EQ(1u, count);
  EXPECT_EQ((std::multiset<std::string>{"right"}), answered);
  EXPECT_NE(std::string::npos, why.find("odd.json")) << why;
  EXPECT_EQ(Names{"odd.json"}, In("answers"));

  std::ofstream(path_ / "idphoto-queue") << "2\n";
  EXPECT_THROW(FolderSource{Settings()}, SourceFailure);
}

TEST_F(FolderSourceTest, WorkersElsewhereAreGoneWhenTheyAreSilent) {
  Submit({"a"});
  FolderSettings settings = Settings();
  FolderSettings::Clock::time_point now{};
  settings.now = [&now] { return now; };
  FolderSource source(settings);
  // As another computer claims it, whose clock is wrong.
  const fs::path claim = path_ / "claims" / ("a.1.elsewhere-1f." + std::to_string(getpid()) + ".77.5.json");
  fs::rename(path_ / "jobs/a.0.json", claim);
  const auto sign = [&](int hours) { fs::last_write_time(claim, fs::file_time_type::clock::now() + hours * 1h); };
  sign(-100);
  for (int i = 0; i < 5; ++i) {
    EXPECT_FALSE(source.Take(0ms));
    now += settings.silence - 1ms;
    EXPECT_FALSE(source.Take(0ms));
    sign(i % 2 ? 100 : -50 - i);
  }
  EXPECT_FALSE(source.Take(0ms));
  now += settings.silence;
  const auto taken = source.Take(0ms);
  ASSERT_TRUE(taken);
  EXPECT_EQ(2, taken->tries);
  // What the other one says after all is not wrong, and this one's answer is the same.
  source.Finish(*taken, AnswerTo(taken->job));
  EXPECT_EQ(Names(), In("claims"));
}

TEST_F(FolderSourceTest, SignsOfLifeReachTheFile) {
  Submit({"a"});
  FolderSettings settings = Settings();
  settings.silence = 4ms;
  FolderSource source(settings);
  const auto claim = source.Take(0ms);
  ASSERT_TRUE(claim);
  const fs::path file = path_ / "claims" / claim->tag;
  fs::last_write_time(file, fs::file_time_type::clock::now() - 1h);
  while (fs::last_write_time(file) < fs::file_time_type::clock::now() - 30min) usleep(1000);
  source.Finish(*claim, AnswerTo(claim->job));
}

// Killed between any two changes of the folder.
TEST_F(FolderSourceTest, NothingIsLostWhereverAWorkerIsKilled) {
  int killed = 0;
  for (bool ended = false; !ended; ++killed) {
    ASSERT_GT(200, killed);
    Submit({"a", "b"});
    FolderSettings settings = Settings();
    settings.step = [left = killed]() mutable {
      if (left-- == 0) raise(SIGKILL);
    };
    const int status = End(Fork([&] { Work(settings); }));
    ended = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    ASSERT_TRUE(ended || (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)) << status;
    Work(Settings());
    std::multiset<std::string> answered;
    EXPECT_TRUE(Fetch(&answered).empty());
    EXPECT_EQ((std::multiset<std::string>{"a", "b"}), answered) << killed;
    ExpectNothingLeft();
  }
  EXPECT_LT(10, killed);
}

TEST_F(FolderSourceTest, ManyWorkersOfWhichSomeAreKilledAnswerEachJobOnce) {
  constexpr int kJobs = 60;
  std::multiset<std::string> all;
  for (int i = 0; i < kJobs; ++i) all.insert("job-" + std::to_string(i));
  Submit({all.begin(), all.end()});
  Submit({"poison-1", "poison-2"}, "poison");
  std::set<pid_t> workers;
  const auto start = [&] { workers.insert(Fork([&] { Work(Settings()); })); };
  for (int i = 0; i < 4; ++i) start();
  int poisoned = 0;
  for (bool killed = false; !workers.empty();) {
    if (!killed && In("answers").size() >= 5) {
      killed = kill(*workers.begin(), SIGKILL) == 0;
    }
    int status = 0;
    const pid_t ended = waitpid(-1, &status, killed ? 0 : WNOHANG);
    if (ended <= 0) {
      usleep(1000);
      continue;
    }
    ASSERT_EQ(1u, workers.erase(ended));
    if (WIFEXITED(status)) {
      EXPECT_EQ(0, WEXITSTATUS(status));
    } else {
      ++poisoned;
      start();
    }
  }
  EXPECT_LE(6, poisoned);  // three tries each, and most often the one that was killed
  std::multiset<std::string> answered;
  const auto dead = Fetch(&answered);
  EXPECT_EQ(all, answered);
  ASSERT_EQ(2u, dead.size());
  for (const auto& [id, reason] : dead) EXPECT_EQ("its worker ended in the middle of it", reason) << id;
  ExpectNothingLeft();
}

}  // namespace
}  // namespace qx::queue
