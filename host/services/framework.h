// The framework that hosts a plug-in inside the configuration daemon: what the
// opaque pointers of a call stand for, and where faults and debug lines go.
#ifndef IPAV_HOST_SERVICES_FRAMEWORK_H_
#define IPAV_HOST_SERVICES_FRAMEWORK_H_

#include <hostd/hostd.h>

#include <map>
#include <string>

// Behind the `vcb_opaque` of a call.
struct hostd {
  int maapi_socket = -1;
  HostdInterface* instance = nullptr;
};

// Opens CDB sessions; one per process.
class HostdInterface {};

namespace ipav::services {

// Behind the `v_opaque` of a call: the context of each loaded plug-in, by the
// name of its validation set.
class LibraryContexts {
 public:
  // The slot of a name, for lib_init() and lib_finish(). Stays in place.
  void** Slot(const std::string& name) { return &slots_[name]; }

 private:
  std::map<std::string, void*> slots_;
};

// Hears what a plug-in reports besides its answers.
class Listener {
 public:
  virtual ~Listener() = default;
  virtual void OnFault(const std::string& message) = 0;
  virtual void OnDebugLine(const std::string& line) = 0;
};

// Makes `listener` hear everything from now on; null for nobody. Borrowed.
void SetListener(Listener* listener);

}  // namespace ipav::services

#endif  // IPAV_HOST_SERVICES_FRAMEWORK_H_
