// The framework that hosts a plug-in inside the configuration daemon: the
// objects of a call's opaque pointers, and the receiver of faults and debug
// lines.
#ifndef IPAV_HOST_SERVICES_FRAMEWORK_H_
#define IPAV_HOST_SERVICES_FRAMEWORK_H_

#include <hostd/hostd.h>

#include <functional>
#include <map>
#include <string>

// The object of a call's `vcb_opaque`.
struct hostd {
  int maapi_socket = -1;
  HostdInterface* instance = nullptr;
};

// Opens CDB sessions; one per process.
class HostdInterface {};

namespace ipav::services {

// The object of a call's `v_opaque`: the context of each loaded plug-in, by the
// name of its validation set. lib_init() and lib_finish() take its address.
using LibraryContexts = std::map<std::string, void*>;

// Receives the reports of a plug-in besides its answers.
struct Listener {
  std::function<void(const std::string& message)> on_fault;
  std::function<void(const std::string& line)> on_debug_line;
};

// Sets the listener that receives all reports from now on; an empty one for
// none.
void SetListener(Listener listener);

}  // namespace ipav::services

#endif  // IPAV_HOST_SERVICES_FRAMEWORK_H_
