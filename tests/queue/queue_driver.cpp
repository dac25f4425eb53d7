// A worker, and the other end of a queue, without photographs: for tests with a real server of messages.
//
// usage: queue_driver work|submit|collect ADDRESS [NAME=VALUE...]
//   password, ca, cert, key (files); heartbeat (s), patience, confirm, look (ms); prefetch
//   submit   count, from, options=NAME (of each job's one option); prints "submitted N full M", with retry=1 when all
//   are work     ms (of fake work a job), idle=MS (ends when nothing came for so long) or drain=1, threads; a job whose
//   option
//            is "poison" kills the process, "fails" is given back, "bury" buried. SIGTERM returns what is in hand.
//            Prints "took ID TRIES" and "answered ID"
//   collect  expect, wait (ms at most); prints a line of JSON for each
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "queue/amqp/amqp_desk.h"
#include "queue/amqp/amqp_source.h"

namespace {

using namespace qx::queue;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::atomic<bool> ended{false};
std::mutex outputs;

void Print(const std::string& line) {
  const std::lock_guard<std::mutex> lock(outputs);
  std::cout << line << std::endl;
}

class Arguments {
 public:
  Arguments(int count, char** words) {
    for (int i = 3; i < count; ++i) {
      const std::string word = words[i];
      const size_t equals = word.find('=');
      values_[word.substr(0, equals)] = word.substr(equals + 1);
    }
  }
  std::string Text(const std::string& name, const std::string& otherwise = "") const {
    const auto value = values_.find(name);
    return value == values_.end() ? otherwise : value->second;
  }
  int Number(const std::string& name, int otherwise) const { return std::stoi(Text(name, std::to_string(otherwise))); }
  milliseconds Time(const std::string& name, milliseconds otherwise) const {
    return milliseconds(Number(name, static_cast<int>(otherwise.count())));
  }

 private:
  std::map<std::string, std::string> values_;
};

AmqpSettings SettingsOf(const std::string& address, const Arguments& arguments) {
  AmqpSettings settings;
  settings.address = AmqpAddress::Parse(address);
  settings.password = arguments.Text("password");
  settings.caFile = arguments.Text("ca");
  settings.certFile = arguments.Text("cert");
  settings.keyFile = arguments.Text("key");
  settings.heartbeat = std::chrono::seconds(arguments.Number("heartbeat", 30));
  settings.patience = arguments.Time("patience", settings.patience);
  settings.confirmWait = arguments.Time("confirm", settings.confirmWait);
  settings.lookRound = arguments.Time("look", settings.lookRound);
  settings.prefetch = static_cast<size_t>(arguments.Number("prefetch", 2));
  settings.log = [](const std::string& line) { std::cerr << line + "\n" << std::flush; };
  return settings;
}

int Submit(const AmqpSettings& settings, const Arguments& arguments) {
  AmqpDesk desk(settings);
  const std::string option = arguments.Text("options", "plain");
  int submitted = 0, full = 0;
  const int from = arguments.Number("from", 0);
  for (int i = from; i < from + arguments.Number("count", 1); ++i) {
    const std::string id = option + "-" + std::to_string(i);
    const Job job{id, "/in/" + id + ".jpg", std::string(64, 'a'), "/out/" + id + ".jpg", {{"preset", option}}};
    try {
      submitted += desk.Submit(job);
      if (desk.Submit(job)) return 3;
    } catch (const QueueFull&) {
      ++full;
      if (arguments.Number("retry", 0) == 0) continue;
      std::this_thread::sleep_for(milliseconds(100));
      --i;
    }
  }
  Print("submitted " + std::to_string(submitted) + " full " + std::to_string(full));
  return 0;
}

void WorkOff(JobSource& source, const Claim& claim, milliseconds work) {
  Print("took " + claim.job.id + " " + std::to_string(claim.tries));
  const std::string& what = claim.job.options.at(0).second;
  if (what == "poison") raise(SIGKILL);
  for (const auto until = Clock::now() + work; Clock::now() < until;) {
    if (ended) return source.Return(claim);
    std::this_thread::sleep_for(std::min(work, milliseconds(5)));
  }
  if (what == "fails") return source.GiveBack(claim, "the disk is full");
  if (what == "bury") return source.Bury(claim, "nobody wants it");
  const Answer answer{claim.job.id, claim.job.photograph, claim.job.output, true, "", {}, {}, 0.5, "A"};
  for (bool kept = false; !kept;) {
    try {
      source.Finish(claim, answer);
      kept = true;
    } catch (const SourceFailure& failure) {
      std::cerr << std::string("finish: ") + failure.what() + "\n";
    }
  }
  Print("answered " + claim.job.id);
}

// Whether there is no more to do.
bool IsDone(JobSource& source, const Arguments& arguments, Clock::time_point last) {
  if (ended) return true;
  if (arguments.Number("drain", 0) == 0) return Clock::now() - last > arguments.Time("idle", milliseconds(3000));
  try {
    const SourceCounts counts = source.Count();
    return counts.waiting + counts.claimed == 0;
  } catch (const SourceFailure& failure) {
    std::cerr << std::string("count: ") + failure.what() + "\n";
    return false;
  }
}

int Work(const AmqpSettings& settings, const Arguments& arguments) {
  AmqpSource source(settings);
  Print("ready");
  std::vector<std::thread> threads;
  for (int i = 0; i < arguments.Number("threads", 1); ++i) {
    threads.emplace_back([&] {
      for (auto last = Clock::now(); !IsDone(source, arguments, last);) {
        while (const auto claim = ended ? std::nullopt : source.Take(milliseconds(100))) {
          WorkOff(source, *claim, arguments.Time("ms", milliseconds(0)));
          last = Clock::now();
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  return 0;
}

int Collect(const AmqpSettings& settings, const Arguments& arguments) {
  AmqpDesk desk(settings);
  std::set<std::string> ids;
  const AnswerTakers takers{[&](const Answer& answer) {
                              Print(ToText(answer));
                              ids.insert(answer.id);
                            },
                            [&](const Dead& dead) {
                              Print(ToText(dead));
                              ids.insert(dead.id);
                            }};
  const auto until = Clock::now() + arguments.Time("wait", milliseconds(0));
  do {
    try {
      desk.Collect(takers);
    } catch (const SourceFailure& failure) {
      std::cerr << std::string("collect: ") + failure.what() + "\n";
      std::this_thread::sleep_for(milliseconds(200));
    }
  } while (ids.size() < static_cast<size_t>(arguments.Number("expect", 0)) && Clock::now() < until);
  return 0;
}

}  // namespace

int main(int count, char** words) {
  if (count < 3) return 2;
  const std::string what = words[1];
  std::signal(SIGTERM, [](int) { ended = true; });
  try {
    const Arguments arguments(count, words);
    const AmqpSettings settings = SettingsOf(words[2], arguments);
    if (what == "submit") return Submit(settings, arguments);
    if (what == "work") return Work(settings, arguments);
    return Collect(settings, arguments);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << "\n";
    return 1;
  }
}
