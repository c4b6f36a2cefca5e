#include "reading_time.h"

#include <unistd.h>

#include <utility>

#include "exit_status.h"

namespace ipav::cli {

ReadingTime::ReadingTime(std::string file, base::TimeLimit limit, Over over)
    : file_(std::move(file)), limit_(limit), over_(std::move(over)) {
  if (limit_ != base::kNoTimeLimit) watch_ = std::thread([this] { Watch(); });
}

ReadingTime::~ReadingTime() {
  if (!watch_.joinable()) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    has_ended_ = true;
  }
  ended_.notify_one();
  watch_.join();
}

void ReadingTime::Watch() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (ended_.wait_for(lock, limit_, [this] { return has_ended_; })) return;
  over_(file_ + ": not read within " + base::InWords(limit_));
  // Not exit(): the reader still runs, on what exit() would take away.
  _exit(kBadInput);
}

}  // namespace ipav::cli
