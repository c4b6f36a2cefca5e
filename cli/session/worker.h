// Runs commands of ipav in child processes of a process that stays: the data
// model is loaded once, and each command begins with a copy of this process.
#ifndef IPAV_CLI_SESSION_WORKER_H_
#define IPAV_CLI_SESSION_WORKER_H_

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "cli/locations.h"
#include "host/base/file_descriptor.h"
#include "host/datastore/input_file.h"

namespace ipav::cli::session {

struct Request {
  std::vector<std::string> arguments;  // of ipav: "check", "--all", ...
  datastore::Texts texts;  // that the command reads instead of files
};

struct Answer {
  int status = 0;      // kPluginFailed if the command was killed
  std::string output;  // standard output, at most kMaxOutput bytes
  std::string errors;  // standard error, the same
};

// A command that writes more to a file has failed to write it.
constexpr std::size_t kMaxOutput = std::size_t{256} << 20;

// A command that runs, or has run.
class Job {
 public:
  Job(pid_t process, base::FileDescriptor output, base::FileDescriptor errors);
  // Kills the command and its processes, unless Collect() was called.
  ~Job();
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  // A descriptor for poll(2): readable when the command has ended.
  int end() const { return end_.get(); }

  // Waits for the end. To be called once. Throws std::system_error.
  Answer Collect();

 private:
  int Wait();

  pid_t process_;  // -1: waited for
  base::FileDescriptor end_;
  base::FileDescriptor output_;
  base::FileDescriptor errors_;
};

class Worker {
 public:
  // Loads the data model. The locations are the defaults of --plugin and --yang
  // in every command. Throws datastore::InputError.
  explicit Worker(Locations locations);

  // The process must have one thread. Throws std::system_error.
  std::unique_ptr<Job> Start(const Request& request) const;

  Answer Run(const Request& request) const { return Start(request)->Collect(); }

 private:
  Locations locations_;
};

}  // namespace ipav::cli::session

#endif  // IPAV_CLI_SESSION_WORKER_H_
