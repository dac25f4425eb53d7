// What goes through a queue of photographs: jobs, answers and jobs that were given up, as JSON. The schema is installed
// as docs/schema/queue.schema.json. Photographs themselves never travel: their files do.
#ifndef QX_QUEUE_MESSAGE_H
#define QX_QUEUE_MESSAGE_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::queue {

// Of the form of all three messages. Whoever meets another one leaves the message alone.
inline constexpr int kMessageVersion = 1;
// In bytes. Answers and dead jobs repeat what the job says, and say more.
inline constexpr size_t kMostJobBytes = 4096, kMostAnswerBytes = 8192;
// Of an answer's or dead job's text for people; longer ones are cut.
inline constexpr size_t kMostTextBytes = 1000;

// Text that is no message of that kind; says what is wrong with it, in one printable line.
class BadMessage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One photograph to make. All text is UTF-8 without control characters.
struct Job {
  std::string id;          // 1 to 64 of a-z, 0-9 and "-"; names the job's files
  std::string photograph;  // an absolute path, or an address that begins with https:// or http://
  std::string sha256;      // of the photograph's file: 64 of 0-9 and a-f
  std::string output;      // an absolute path
  // As ParseOrder takes them; those of one name stand together.
  std::vector<std::pair<std::string, std::string>> options;
};

// What became of a job. A photograph that cannot be made is an answer too.
struct Answer {
  std::string id, photograph, output;
  bool done = false;
  std::string message;                                   // why it failed, or what else is worth saying
  std::vector<std::string> reasons;                      // stable names
  std::vector<std::pair<std::string, double>> measures;  // of the finished photograph, finite
  double seconds = 0;                                    // finite
  std::string options;                                   // text that differs when the outputs would
};

// A job that nobody could answer.
struct Dead {
  std::string id;
  int tries = 0;
  std::string reason;     // of the last try
  std::vector<Job> jobs;  // one, or none where the message was no job
};

// One line without its end. Throw BadMessage for what the parser would refuse.
std::string ToText(const Job& job);
std::string ToText(Answer answer);
std::string ToText(Dead dead);

// Take hostile text. Strict: no unknown, missing or repeated members, no other version, nothing beyond the limits.
// Throw BadMessage.
Job ParseJob(std::string_view text);
Answer ParseAnswer(std::string_view text);
Dead ParseDead(std::string_view text);

// Whether it can be the id of a job.
bool IsJobId(std::string_view text);

}  // namespace qx::queue

#endif  // QX_QUEUE_MESSAGE_H
