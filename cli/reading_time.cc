#include "reading_time.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

#include "exit_status.h"

namespace ipav::cli {

ReadingTime::ReadingTime(std::string file, base::TimeLimit limit)
    : file_(std::move(file)), limit_(limit) {
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
  static_cast<void>(std::fprintf(stderr, "ipav: %s: not read within %s\n",
                                 file_.c_str(), base::InWords(limit_).c_str()));
  // Not exit(): the reader still runs, on what exit() would take away.
  _exit(kBadInput);
}

}  // namespace ipav::cli
