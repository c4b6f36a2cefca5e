// What the server tells its operator, line by line, on standard error.
#ifndef IPAV_SERVER_TRANSPORT_LOG_H_
#define IPAV_SERVER_TRANSPORT_LOG_H_

#include <string>

namespace ipav::transport {

// Numbers of syslog(3).
enum class Severity { kError = 3, kWarning = 4, kNotice = 5, kInfo = 6 };

// One line, written in one piece. What clients can name is made harmless: no
// control characters. For journald, which says so in the environment
// (JOURNAL_STREAM), it begins with its severity.
void Log(Severity severity, const std::string& text);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_LOG_H_
