// One life of the plug-in on the fake platform, in the terms of the model.
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

  // Whether everything that the platform gave out during the last call was
  // given back, and each text was set on the transaction of its call.
  bool is_clean() const { return is_clean_; }

 private:
  void Show(std::size_t transaction);

  const std::vector<Configuration>& transactions_;
  std::optional<std::size_t> shown_;
  // One for each call. They stay, closed, so that a reader that kept the one of
  // another call reads nothing.
  std::list<confd_trans_ctx> contexts_;
  void* context_ = nullptr;
  bool is_clean_ = true;
};

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_PLUGIN_LIFE_H_
