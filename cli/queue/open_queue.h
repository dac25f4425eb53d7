// A queue by its address, as the options of the program name it.
#ifndef QX_CLI_QUEUE_OPEN_QUEUE_H
#define QX_CLI_QUEUE_OPEN_QUEUE_H

#include <CLI/App.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "queue/job_desk.h"
#include "queue/job_source.h"

namespace qx::cli {

struct QueueOptions {
  std::string address;            // folder:PATH, or amqp[s]://user@host[:port]/vhost
  std::string passwordFile;       // its first line; empty: none
  std::string caFile;             // who vouches for the server, PEM; empty: whom the system trusts
  std::string certFile, keyFile;  // what the server is shown, PEM; empty: nothing
  size_t prefetch = 0;            // jobs in hand at once, of a source; 0: one more than work at once
};

// Gets lines for people, from any thread.
using QueueLog = std::function<void(const std::string& line)>;

// --queue, --queue-password-file, --queue-ca, --queue-cert, --queue-key.
void AddQueueOptions(CLI::App& command, QueueOptions* options);

// Whether the queue is a folder: only who can write there hands jobs in, and could write elsewhere as well.
bool IsFolderQueue(const QueueOptions& options);

// Throws SetupFailure for an address that is none; does not look whether the queue is there.
void CheckQueueAddress(const QueueOptions& options);

// Throw SetupFailure: the address is none, or the queue cannot be reached. No text has a password in it.
// `jobs`: how many the caller works on at once. `log` may be empty.
std::unique_ptr<queue::JobSource> OpenSource(const QueueOptions& options, size_t jobs, const QueueLog& log);
std::unique_ptr<queue::JobDesk> OpenDesk(const QueueOptions& options, const QueueLog& log);

}  // namespace qx::cli

#endif  // QX_CLI_QUEUE_OPEN_QUEUE_H
