#include "host/plugin/plugin.h"

#include <filesystem>

namespace ipav::plugin {

namespace {

// dlopen() would search the library path for a name without a slash, and an
// empty name means the program itself.
void* Open(const std::string& path) {
  if (path.empty()) throw PluginError("the plug-in file has no name");
  // Bind everything now: a missing symbol must not be found in the middle of a
  // commit.
  return dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
}

}  // namespace

Plugin::Plugin(const std::string& path) : path_(path), handle_(Open(path)) {
  if (handle_ == nullptr) throw PluginError(dlerror());
  init_ = Find<std::int32_t(void**)>("lib_init");
  get_validation_point_ =
      Find<std::int32_t(char*, std::size_t)>("get_validation_point");
  validate_ =
      Find<std::int32_t(confd_trans_ctx*, confd_hkeypath_t*, confd_value_t*)>(
          "validate");
  finish_ = Find<std::int32_t(void**)>("lib_finish");
}

template <typename Function>
Function* Plugin::Find(const char* name) const {
  void* symbol = dlsym(handle_.get(), name);
  if (symbol == nullptr) {
    throw PluginError(path_ + ": entry point " + name + " is missing");
  }
  return reinterpret_cast<Function*>(symbol);
}

std::string Plugin::ValidationPoint() const {
  char name[256] = "";
  const std::int32_t result = get_validation_point_(name, sizeof(name));
  name[sizeof(name) - 1] = '\0';
  if (result != 0 || name[0] == '\0') {
    throw PluginError(path_ + ": names no validation point");
  }
  return name;
}

}  // namespace ipav::plugin
