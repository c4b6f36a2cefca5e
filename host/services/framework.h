// The framework that hosts a plug-in inside the configuration daemon: the
// objects of a call's opaque pointers, and the receiver of faults and debug
// lines.
#ifndef IPAV_HOST_SERVICES_FRAMEWORK_H_
#define IPAV_HOST_SERVICES_FRAMEWORK_H_

#include <hostd/hostd.h>

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
// name of its validation set.
class LibraryContexts {
 public:
  // The slot of a name, for lib_init() and lib_finish(). Its address is stable.
  void** Slot(const std::string& name) { return &slots_[name]; }

 private:
  std::map<std::string, void*> slots_;
};

// Receives the reports of a plug-in besides its answers.
class Listener {
 public:
  virtual ~Listener() = default;
  virtual void OnFault(const std::string& message) = 0;
  virtual void OnDebugLine(const std::string& line) = 0;
};

// Sets the listener that receives all reports from now on; null for none.
// Borrowed.
void SetListener(Listener* listener);

}  // namespace ipav::services

#endif  // IPAV_HOST_SERVICES_FRAMEWORK_H_
