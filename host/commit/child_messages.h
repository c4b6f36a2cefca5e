// The messages that the child of a commit sends to the host: each is one letter
// and the texts named in its comment. They become the outcome of the commit.
#ifndef IPAV_HOST_COMMIT_CHILD_MESSAGES_H_
#define IPAV_HOST_COMMIT_CHILD_MESSAGES_H_

#include <string>

#include "host/base/stopwatch.h"
#include "host/base/time_limit.h"
#include "host/commit/child.h"
#include "host/commit/commit.h"

namespace ipav::commit {

inline constexpr char kNoPlugin = 'P';    // why
inline constexpr char kInitFailed = 'I';  // why
inline constexpr char kEnters = 'S';      // what runs now, outside of points
inline constexpr char kPlanned = 'N';     // number of calls
inline constexpr char kBegins = 'B';      // point, path
inline constexpr char kAnswered = 'A';    // result, then the error text if any
inline constexpr char kThrew = 'T';       // what
inline constexpr char kFault = 'F';       // message
inline constexpr char kDebugLine = 'D';   // line
inline constexpr char kCalls = 'C';       // name, number
inline constexpr char kLeftOpen = 'O';    // what, number
inline constexpr char kFailed = 'X';      // why
inline constexpr char kTook = 'L';        // loading, planning, points
inline constexpr char kPointTook = 'M';   // point, calls, platform calls, time
inline constexpr char kFinished = 'E';

// Times are sent in nanoseconds.
inline std::string Encode(base::Duration time) {
  return std::to_string(time.count());
}
inline base::Duration Decode(const std::string& text) {
  return base::Duration(std::stoll(text));
}

// `time_limit` is the limit that the child had, for the text about it. Throws
// plugin::PluginError if the child could not load the plug-in.
Outcome ReadOutcome(const ChildReport& report, base::TimeLimit time_limit);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_CHILD_MESSAGES_H_
