// A validation plug-in: a shared object with the four entry points that the
// host framework calls.
#ifndef IPAV_HOST_PLUGIN_PLUGIN_H_
#define IPAV_HOST_PLUGIN_PLUGIN_H_

#include <confd_lib.h>
#include <dlfcn.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "host/base/c_ptr.h"

namespace ipav::plugin {

// The file is not a plug-in; what() names it and says why, in one line.
class PluginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Plugin {
 public:
  // Loads the file and finds its entry points. Throws PluginError.
  explicit Plugin(const std::string& path);

  // Name of the validation set that the plug-in checks. Throws PluginError if
  // it has none.
  std::string ValidationPoint() const;

  // Call the entry points. Their exceptions are passed on.
  std::int32_t Init(void** context) const { return init_(context); }
  std::int32_t Validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                        confd_value_t* newval) const {
    return validate_(tctx, keypath, newval);
  }
  std::int32_t Finish(void** context) const { return finish_(context); }

 private:
  template <typename Function>
  Function* Find(const char* name) const;

  std::string path_;
  base::CPtr<void, dlclose> handle_;
  std::int32_t (*init_)(void**);
  std::int32_t (*get_validation_point_)(char*, std::size_t);
  std::int32_t (*validate_)(confd_trans_ctx*, confd_hkeypath_t*,
                            confd_value_t*);
  std::int32_t (*finish_)(void**);
};

}  // namespace ipav::plugin

#endif  // IPAV_HOST_PLUGIN_PLUGIN_H_
