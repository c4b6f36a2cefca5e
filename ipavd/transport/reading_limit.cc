#include "ipavd/transport/reading_limit.h"

#include <sys/time.h>

namespace ipav::transport {

namespace {

constexpr suseconds_t kLimit = 250'000;  // and for each MiB

void LimitTime(suseconds_t microseconds) {
  constexpr suseconds_t kSecond = 1'000'000;
  const itimerval limit{{0, 0},
                        {microseconds / kSecond, microseconds % kSecond}};
  setitimer(ITIMER_PROF, &limit, nullptr);
}

sigset_t EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, kSessionEnded);
  return signals;
}

}  // namespace

void DeferEnd() {
  const sigset_t signals = EndSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

ReadingLimit::ReadingLimit(std::size_t message_size) {
  LimitTime(kLimit +
            kLimit * static_cast<suseconds_t>(message_size) / (1 << 20));
  const sigset_t signals = EndSignals();
  pthread_sigmask(SIG_UNBLOCK, &signals, &deferred_);
}

ReadingLimit::~ReadingLimit() {
  pthread_sigmask(SIG_SETMASK, &deferred_, nullptr);
  LimitTime(0);
}

}  // namespace ipav::transport
