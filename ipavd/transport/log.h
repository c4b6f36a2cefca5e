// The log of the server, on standard error.
#ifndef IPAV_IPAVD_TRANSPORT_LOG_H_
#define IPAV_IPAVD_TRANSPORT_LOG_H_

#include <string>

namespace ipav::transport {

// Numbers of syslog(3).
enum class Severity { kError = 3, kWarning = 4, kNotice = 5, kInfo = 6 };

// Writes one line. Characters that are not printable are escaped, since clients
// choose parts of the text (base::Printable). The line begins with its severity
// when journald reads it, which sets JOURNAL_STREAM in the environment.
void Log(Severity severity, const std::string& text);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_LOG_H_
