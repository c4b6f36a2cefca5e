#include "ipavd/transport/trial.h"

#include <sys/time.h>

namespace ipav::transport {

namespace {

void LimitTime(suseconds_t microseconds) {
  constexpr suseconds_t kSecond = 1'000'000;
  const itimerval limit{{0, 0},
                        {microseconds / kSecond, microseconds % kSecond}};
  setitimer(ITIMER_PROF, &limit, nullptr);
}

}  // namespace

void TryToRead(const RequestReader& reader, const std::string& request) {
  constexpr suseconds_t kLimit = 250'000;
  if (reader == nullptr) return;
  LimitTime(kLimit +
            kLimit * static_cast<suseconds_t>(request.size()) / (1 << 20));
  reader(request);
  LimitTime(0);
}

}  // namespace ipav::transport
