#include "cli/batch/batch.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "cli/batch/joined_report.h"
#include "cli/batch/output_names.h"
#include "cli/wording.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

namespace fs = std::filesystem;
using Json = nlohmann::json;

std::vector<Json> ReportLines(const fs::path& path) {
  std::vector<Json> lines;
  std::istringstream file(ReadBytes(path));
  for (std::string line; std::getline(file, line);) lines.push_back(Json::parse(line));
  return lines;
}

// Photographs that are texts: a worker copies them, and refuses those that say "bad".
class BatchThreads : public testing::Test {
 protected:
  void SetUp() override { fs::create_directory(folder_ / "out"); }

  std::vector<BatchItem> Items(const Names& names) const {
    std::vector<BatchItem> items;
    for (const std::string& name : names) items.push_back({folder_ / name, folder_ / "out" / name});
    return items;
  }

  BatchSummary Run(const std::vector<BatchItem>& items, bool resume = false, const std::string& options = "A",
                   size_t jobs = 3) {
    const auto worker = [this](const BatchItem& item, BatchOutcome* outcome) {
      ++calls_;
      const std::string text = ReadBytes(item.input);
      if (text == "bad") throw Failure(FailureCode::kNotAPicture, "is bad; take another");
      if (text == "empty") throw std::bad_alloc();
      WriteBytes(item.output, text);
      outcome->measures = {{"letters", static_cast<double>(text.size())}, {"third", 1.0 / 3}};
    };
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const BatchSummary summary =
        RunBatch(items, [&] { return ++makers_, worker; }, {jobs, folder_ / "report", resume, options});
    out_ = testing::internal::GetCapturedStdout();
    err_ = testing::internal::GetCapturedStderr();
    return summary;
  }

  const TestFolder folder_;
  std::atomic<int> calls_{0}, makers_{0};
  std::string out_, err_;
};

TEST_F(BatchThreads, WorksOnAllWhateverBecomesOfEach) {
  const Names names = {"a", "b", "c\xFF\n", "d", "e"};
  for (const std::string& name : names) WriteBytes(folder_ / name, name == "b" ? "bad" : name == "d" ? "empty" : name);
  const BatchSummary summary = Run(Items(names));
  EXPECT_EQ(3u, summary.done);
  EXPECT_EQ(2u, summary.failed);
  EXPECT_EQ(0u, summary.skipped + summary.left);
  EXPECT_EQ(3, makers_);
  EXPECT_EQ(3u, folder_.Names("out").size());
  EXPECT_EQ(6, std::count(out_.begin(), out_.end(), '\n')) << out_;
  EXPECT_TRUE(Contains(out_, "failed:\n  1 photograph: not a photograph\n  1 photograph: out of memory\n")) << out_;
  EXPECT_EQ(2, std::count(err_.begin(), err_.end(), '\n')) << err_;
  EXPECT_TRUE(Contains(err_, "b: is bad; take another")) << err_;

  std::map<std::string, Json> lines;
  for (const Json& line : ReportLines(folder_ / "report")) lines[line.at("input")] = line;
  ASSERT_EQ(5u, lines.size());
  const Json& good = lines.at((folder_ / "a").native());
  EXPECT_EQ("done", good.at("status"));
  EXPECT_EQ((folder_ / "out/a").native(), good.at("output"));
  EXPECT_EQ(1, good.at("measures").at("letters"));
  EXPECT_EQ(0.3333, good.at("measures").at("third"));
  EXPECT_GE(good.at("seconds"), 0);
  const Json& bad = lines.at((folder_ / "b").native());
  EXPECT_EQ("failed", bad.at("status"));
  EXPECT_EQ("is bad; take another", bad.at("message"));
  EXPECT_EQ(Json{"not_a_picture"}, bad.at("reasons"));
  EXPECT_NE(std::string::npos, lines.at((folder_ / "d").native()).at("message").get<std::string>().find("memory"));
  EXPECT_EQ(1u, lines.count((folder_ / "c\\xFF\\x0A").native()));
}

TEST_F(BatchThreads, ResumesWhereItStopped) {
  const Names names = {"a", "b", "c", "d"};
  for (const std::string& name : names) WriteBytes(folder_ / name, name == "b" ? "bad" : name);
  Run(Items(names));
  // Nothing but the failure is tried again, and nothing at all that needs no worker.
  calls_ = makers_ = 0;
  EXPECT_EQ(3u, Run(Items(names), true).skipped);
  EXPECT_EQ(1, calls_);
  WriteBytes(folder_ / "b", "good");
  EXPECT_EQ(1u, Run(Items(names), true).done);
  makers_ = 0;
  EXPECT_EQ(4u, Run(Items(names), true).skipped);
  EXPECT_EQ(0, makers_);

  // Done again: an output that is gone, a photograph that is newer than its output, one without a line, one whose line
  // was cut off.
  fs::remove(folder_ / "out/a");
  fs::last_write_time(folder_ / "b", fs::last_write_time(folder_ / "out/b") + std::chrono::seconds(5));
  std::istringstream report(ReadBytes(folder_ / "report"));
  Names lines(4);
  for (std::string& line : lines) std::getline(report, line);
  WriteBytes(folder_ / "report", lines[0] + "\n" + lines[1] + "\n" + lines[3].substr(0, lines[3].size() / 2));
  calls_ = 0;
  Run(Items(names), true);
  EXPECT_EQ(4, calls_);
  EXPECT_EQ(4u, ReportLines(folder_ / "report").size());  // one line for each

  calls_ = 0;
  EXPECT_EQ(0u, Run(Items({"a", "b"}), true, "other options").skipped);
  EXPECT_EQ(2, calls_);
  EXPECT_EQ(4u, ReportLines(folder_ / "report").size());
  EXPECT_EQ(2u, Run(Items(names), true).skipped);
  Run(Items({"a"}));  // without --resume the report starts anew
  EXPECT_EQ(1u, ReportLines(folder_ / "report").size());

  WriteBytes(folder_ / "report", "Dear Sir or Madam,\n");
  EXPECT_THROW(BatchReport(folder_ / "report", "A", true), SetupFailure);
  EXPECT_EQ("Dear Sir or Madam,\n", ReadBytes(folder_ / "report"));
  EXPECT_THROW(BatchReport(folder_ / "missing/report", "A", false), SetupFailure);
}

TEST_F(BatchThreads, FinishesWhatIsAtWorkWhenInterruptedAndStopsAtTheSecondInterrupt) {
  const Names names = {"a", "b", "c", "d", "e", "f"};
  for (const std::string& name : names) WriteBytes(folder_ / name, name);
  for (const int interrupts : {1, 2}) {
    const pid_t child = fork();
    if (child == 0) {
      const auto worker = [&](const BatchItem& item, BatchOutcome*) {
        if (item.input.filename() == "c") {
          for (int i = 0; i < interrupts; ++i) raise(SIGINT);
        }
        WriteBytes(item.output, "x");
      };
      freopen("/dev/null", "w", stdout);
      freopen("/dev/null", "w", stderr);
      const BatchSummary summary = RunBatch(Items(names), [&] { return worker; }, {1, folder_ / "report", false, "A"});
      _exit(summary.done == 3 && summary.left == 3 ? 42 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    if (interrupts == 1) {
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 42) << status;
      EXPECT_EQ(3u, ReportLines(folder_ / "report").size());
    } else {
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
      EXPECT_EQ(2u, ReportLines(folder_ / "report").size());
    }
  }
  calls_ = 0;
  EXPECT_EQ(2u, Run(Items(names), true).skipped);
  EXPECT_EQ(4, calls_);
}

TEST_F(BatchThreads, PassesOnThatNoWorkerCanBeMade) {
  WriteBytes(folder_ / "a", "a");
  const auto fail = []() -> BatchWorker { throw Failure(FailureCode::kEngine, "no engine"); };
  EXPECT_THROW(RunBatch(Items({"a", "b", "c"}), fail, {2, folder_ / "report", false, "A"}), Failure);
}

TEST_F(BatchThreads, StopWhenTheReportCannotBeWrittenAnyMore) {
  Names names;
  for (int i = 0; i < 50; ++i) names.push_back("p" + std::to_string(i));
  rlimit before{};
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
  const auto handler = signal(SIGXFSZ, SIG_IGN);
  std::atomic<int> calls{0};
  const auto worker = [&](const BatchItem&, BatchOutcome*) {
    const rlimit none{0, before.rlim_max};
    if (++calls == 3) setrlimit(RLIMIT_FSIZE, &none);
  };
  EXPECT_THROW(RunBatch(Items(names), [&] { return worker; }, {2, folder_ / "report", false, "A"}), SetupFailure);
  setrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, handler);
  EXPECT_GT(10, calls);
}

// As a batch writes it.
std::string Line(const std::string& input, const std::string& status, const std::string& reason,
                 const std::string& options = "A") {
  const Json reasons = reason.empty() ? Json::array() : Json::array({reason});
  return Json{{"input", input},
              {"output", "out/" + input},
              {"status", status},
              {"reasons", reasons},
              {"options", options}}
             .dump() +
         "\n";
}

TEST(Reports, AreJoinedAndWhatWasMadeCounts) {
  const TestFolder folder;
  const std::string made = Line("b", "done", "EyesOpen"), again = Line("c", "failed", "no_face");
  WriteBytes(folder / "1", Line("d", "failed", "no_face") + Line("c", "failed", "no_fit") + made);
  WriteBytes(folder / "2",
             again + Line("b", "failed", "no_face") + Line("a", "done", "") + Line("e", "done", "").substr(9));
  EXPECT_EQ(2, StatusOfRefusal(folder, {"report", "1", "2"}, "2: is not a report"));
  WriteBytes(folder / "2",
             again + Line("b", "failed", "no_face") + Line("a", "done", "") + Line("e", "done", "").substr(0, 9));
  const ProgramRun run = RunProgram(folder, {"report", "1", "2", "-o", "all"});
  EXPECT_EQ(1, run.status) << run.err;
  EXPECT_EQ(
      "2 photographs made, 2 failed; 2 lines about the same ones left out\n"
      "failed:\n  2 photographs: no face was found\nremarks:\n  1 photograph: the eyes look closed\n",
      run.out);
  EXPECT_EQ(Line("a", "done", "") + made + again + Line("d", "failed", "no_face"), ReadBytes(folder / "all"));

  // In whatever order they come, and joined once more, the same.
  EXPECT_EQ(1, RunProgram(folder, {"report", "2", "all", "1", "-o", "again"}).status);
  EXPECT_EQ(Names({"1", "2", "again", "all"}), folder.Names());
  EXPECT_TRUE(Contains(ReadBytes(folder / "again"), made)) << ReadBytes(folder / "again");

  WriteBytes(folder / "other", Line("z", "done", "", "B"));
  EXPECT_TRUE(Contains(RunProgram(folder, {"report", "other", "all"}).out, "; not all with the same options"));
  EXPECT_EQ(0, RunProgram(folder, {"report", "other"}).status);
  EXPECT_EQ(2, StatusOfRefusal(folder, {"report", "other", "-o", "./other"}, "would replace that report"));
  EXPECT_EQ(2, StatusOfRefusal(folder, {"report", "gone"}, "gone: cannot read the report"));
  EXPECT_EQ(2, StatusOfRefusal(folder, {"report", "other", "-o", "none/all"}, "none/all"));
}

// Names that are the same in several folders, so that one depends on another; handed on in another order.
TEST(Shards, DoTogetherWhatOneRunDoes) {
  const TestFolder folder;
  Names arguments = {"b/x.jpg", "a/x.jpg", "a/y.jpg", "b/y.jpg", "b/z.jpg"};
  fs::create_directory(folder / "a");
  fs::create_directory(folder / "b");
  for (const std::string& name : arguments) WriteBytes(folder / name, "Dear Sir or Madam,");
  const auto run = [&](const Names& more) {
    const Names options = {"-o", "out", "--size", "35x45mm", "--head", "70-80%"};
    return RunProgram(folder, Joined(Joined(Joined({"batch"}, arguments), options), more));
  };
  const auto outputs = [&](const Names& reports) {
    std::map<std::string, std::string> found;
    for (const std::string& report : reports) {
      for (const Json& line : ReportLines(folder / report)) {
        EXPECT_TRUE(found.emplace(line.at("input").get<std::string>(), line.at("output").get<std::string>()).second)
            << line;
      }
    }
    return found;
  };
  EXPECT_EQ(1, run({}).status);
  const auto whole = outputs({"out/report.jsonl"});
  ASSERT_EQ(5u, whole.size());
  for (int shard : {1, 2, 3}) EXPECT_EQ(1, run({"--shard", std::to_string(shard) + "/3"}).status);
  const Names reports = {"out/report-1-of-3.jsonl", "out/report-2-of-3.jsonl", "out/report-3-of-3.jsonl"};
  EXPECT_EQ(whole, outputs(reports));
  EXPECT_EQ(2u, outputs({reports[1]}).size());
  const ProgramRun joined = RunProgram(folder, Joined({"report"}, reports));
  EXPECT_EQ("0 photographs made, 5 failed\nfailed:\n  5 photographs: not a photograph\n", joined.out);

  // Which photographs are whose does not hang on the order in which a shell hands them on.
  const auto second = outputs({reports[1]});
  std::reverse(arguments.begin(), arguments.end());
  run({"--shard", "2/3", "--report", "second"});
  for (const auto& [input, output] : second) EXPECT_EQ(1u, outputs({"second"}).count(input));
  EXPECT_EQ(0, run({"--shard", "6/6"}).status);  // more runs than photographs
  for (const char* wrong : {"0/3", "4/3", "3", "/3", "3/", "1/2/3", "-1/3", "1/0", "1 /3", "99999999999999999999/1"}) {
    EXPECT_EQ(2,
              StatusOfRefusal(folder, {"batch", "a", "-o", "out", "--size", "35x45mm", std::string("--shard=") + wrong},
                              "is no share"))
        << wrong;
  }
}

TEST(OutputNames, AreUniqueAndLeaveNaturalNamesAlone) {
  EXPECT_EQ((Names{"a", "a-3", "a-2", "b", "a-2-2"}),
            OutputStems({"x/a.jpg", "y/a.jpg", "a-2.png", "b.jpg", "z/a-2.jpg"}));
}

TEST(OutputNames, ExpandFoldersAndPatterns) {
  const TestFolder folder;
  for (const char* name : {"b.JPG", "a.png", "notes.txt", ".hidden.jpg", "odd[1].png"}) WriteBytes(folder / name, "");
  fs::create_directory(folder / "below.jpg");
  const std::string at = folder.Path().native();
  const Names all = {at + "/a.png", at + "/b.JPG", at + "/odd[1].png"};
  EXPECT_EQ(all, ExpandPhotographs({at}));
  EXPECT_EQ((Names{at + "/a.png", at + "/odd[1].png"}), ExpandPhotographs({at + "/*.png"}));
  // Each once; a file whose name looks like a pattern; one that is not there.
  EXPECT_EQ((Names{at + "/odd[1].png", at + "/a.png", at + "/b.JPG", "gone.jpg"}),
            ExpandPhotographs({at + "/odd[1].png", at, at + "/./a.png", "gone.jpg"}));
  EXPECT_THROW(ExpandPhotographs({at + "/*.gif"}), SetupFailure);
  EXPECT_THROW(ExpandPhotographs({at + "/below.jpg"}), SetupFailure);
}

}  // namespace
}  // namespace qx::cli
