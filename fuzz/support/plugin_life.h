// One life cycle of the plug-in on the recording fake platform, between
// lib_init() and lib_finish(). It is a finding if a call does not release all
// resources of the platform, or sets more than one text.
#ifndef IPAV_FUZZ_SUPPORT_PLUGIN_LIFE_H_
#define IPAV_FUZZ_SUPPORT_PLUGIN_LIFE_H_

#include <confd_lib.h>

#include "fuzz/support/outcome.h"
#include "include/config.h"

namespace ipav::fuzz {

// An empty fake platform, as after the start of the process.
void StartPlatform();

class PluginLife {
 public:
  explicit PluginLife(Assertions assertions);
  ~PluginLife();
  PluginLife(const PluginLife&) = delete;
  PluginLife& operator=(const PluginLife&) = delete;

  // The caller sets the fake's data, opaque text and failures. After a failed
  // assertion no further call is allowed: a real process would have ended.
  Ending Validate(confd_hkeypath_t* keypath) const;

  const ip_application::config_valid::Config& snapshot() const;

 private:
  Assertions assertions_;
  void* context_ = nullptr;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_PLUGIN_LIFE_H_
