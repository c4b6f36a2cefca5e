// The filter of get and get-config (RFC 6241, sections 6 and 8.9).
#ifndef IPAV_IPAVD_NETCONF_FILTER_H_
#define IPAV_IPAVD_NETCONF_FILTER_H_

#include <libyang/libyang.h>

#include <optional>
#include <string>

#include "ipavd/store/edit_config.h"

namespace ipav::netconf {

class Filter {
 public:
  // The one in the input of the operation, which is borrowed; without one all
  // is selected. Throws Refusal for what is none.
  explicit Filter(const lyd_node& rpc);

  // What it selects among `tree` (null: nothing is there) and its siblings, as
  // nodes of the operation's context. Throws Refusal for an expression that is
  // no path, or takes too long, and std::runtime_error.
  store::Nodes Apply(const lyd_node* tree) const;

 private:
  const ly_ctx* context_;
  bool is_there_ = false;
  bool is_xpath_ = false;
  std::optional<std::string> xpath_;   // with names of modules for prefixes
  const lyd_node* subtree_ = nullptr;  // null: it has no elements
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_FILTER_H_
