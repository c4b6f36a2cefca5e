// One life cycle of the plug-in on the fake platform, with the types of the
// model.
#ifndef IPAV_TESTS_MODEL_PLUGIN_LIFE_H_
#define IPAV_TESTS_MODEL_PLUGIN_LIFE_H_

#include <confd_lib.h>

#include <list>
#include <optional>
#include <vector>

#include "tests/model/plain_model.h"

namespace ipav::model {

// From lib_init() to lib_finish(). One at a time: the fake is one per process.
class PluginLife {
 public:
  explicit PluginLife(const std::vector<Configuration>& transactions);
  ~PluginLife();
  PluginLife(const PluginLife&) = delete;
  PluginLife& operator=(const PluginLife&) = delete;

  Answer Run(const Call& call);

  // Whether the last call released all resources of the platform, and set texts
  // only on its own transaction.
  bool is_clean() const { return is_clean_; }

 private:
  void Show(std::size_t transaction);

  const std::vector<Configuration>& transactions_;
  std::optional<std::size_t> shown_;
  // One for each call. They are closed but kept, so that a reader that uses the
  // context of an earlier call reads nothing.
  std::list<confd_trans_ctx> contexts_;
  void* context_ = nullptr;
  bool is_clean_ = true;
};

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_PLUGIN_LIFE_H_
