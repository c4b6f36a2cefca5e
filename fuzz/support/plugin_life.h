// One life of the plug-in on the recording fake platform, between lib_init()
// and lib_finish(). Whatever a call does, it gives back what the platform gave
// it and sets no more than one text; anything else is a finding.
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
  // `legal` are the causes for which an assertion may fail.
  explicit PluginLife(Causes legal);
  ~PluginLife();
  PluginLife(const PluginLife&) = delete;
  PluginLife& operator=(const PluginLife&) = delete;

  // The fake's data, opaque text and failures are the caller's to set. Behind a
  // failed assertion there is no further call: the process would be gone.
  Outcome Validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                   confd_value_t* newval) const;

  const ip_application::config_valid::Config& snapshot() const;

 private:
  Causes legal_;
  void* context_ = nullptr;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_PLUGIN_LIFE_H_
