#include "ipavd/transport/trial.h"

#include <sys/time.h>

#include <cstddef>

namespace ipav::transport {

namespace {

constexpr std::size_t kShort = std::size_t{16} << 10;  // bytes

void LimitTime(suseconds_t microseconds) {
  constexpr suseconds_t kSecond = 1'000'000;
  const itimerval limit{{0, 0},
                        {microseconds / kSecond, microseconds % kSecond}};
  setitimer(ITIMER_PROF, &limit, nullptr);
}

}  // namespace

void TryToRead(const RequestReader& reader, const std::string& request) {
  constexpr suseconds_t kLimit = 250'000;
  if (reader == nullptr || request.size() <= kShort) return;
  LimitTime(kLimit +
            kLimit * static_cast<suseconds_t>(request.size()) / (1 << 20));
  reader(request);
  LimitTime(0);
}

}  // namespace ipav::transport
