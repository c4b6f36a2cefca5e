// Commands of ipav that the language server runs, each in a process of its own.
#ifndef IPAV_CLI_LSP_JOBS_H_
#define IPAV_CLI_LSP_JOBS_H_

#include <memory>
#include <string>

#include "cli/session/worker.h"

namespace ipav::cli::lsp {

// A command that runs. The destructor cancels it.
class Job {
 public:
  virtual ~Job() = default;

  // Readable when the command has ended.
  virtual int end() const = 0;
  // To be called once. Throws std::exception.
  virtual session::Answer Collect() = 0;
};

class Jobs {
 public:
  virtual ~Jobs() = default;

  // Throws std::exception.
  virtual std::unique_ptr<Job> Start(const session::Request& request) = 0;

  // Further commands need not read that running configuration again.
  virtual void Keep(const std::string& running) = 0;
};

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_JOBS_H_
