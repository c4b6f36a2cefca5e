// Reads a request before the server does. The YANG library needs quadratic time
// for some messages (many unknown elements below one parent, a list entry many
// times, many attributes, a long XPath expression), and the server would answer
// nobody meanwhile. A request that the library does not survive ends this
// process, too, and not the server.
#ifndef IPAV_IPAVD_TRANSPORT_TRIAL_H_
#define IPAV_IPAVD_TRANSPORT_TRIAL_H_

#include <functional>
#include <string>

namespace ipav::transport {

// Reads a request like the server, and ignores its errors.
using RequestReader = std::function<void(const std::string& request)>;

// Ends this process by SIGPROF if reading takes more CPU time than 250 ms and
// 250 ms more for each MiB.
void TryToRead(const RequestReader& reader, const std::string& request);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_TRIAL_H_
