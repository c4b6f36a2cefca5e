// The filter of get and get-config (RFC 6241, sections 6 and 8.9).
#ifndef IPAV_IPAVD_NETCONF_FILTER_H_
#define IPAV_IPAVD_NETCONF_FILTER_H_

#include <libyang/libyang.h>

#include <optional>
#include <string>

#include "ipavd/netconf/reply.h"
#include "ipavd/store/nodes.h"

namespace ipav::netconf {

// A filter that takes too long.
Refusal TakesTooLong();

class Filter {
 public:
  // The filter in the input of the operation, which is borrowed. Without a
  // filter, everything is selected. Throws Refusal for a wrong filter.
  explicit Filter(const lyd_node& rpc);

  // The selected nodes of `tree` (null: no nodes) and its siblings, copied to
  // the context of the operation. Throws Refusal for an expression that is not
  // a path, or takes too long, and std::runtime_error.
  store::Nodes Apply(const lyd_node* tree) const;

  // Whether what is selected of a tree may depend on all of it.
  bool needs_whole_tree() const { return is_xpath_; }

 private:
  const ly_ctx* context_;
  bool is_there_ = false;
  bool is_xpath_ = false;
  std::optional<std::string> xpath_;   // with module names as prefixes
  const lyd_node* subtree_ = nullptr;  // null: it has no elements
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_FILTER_H_
