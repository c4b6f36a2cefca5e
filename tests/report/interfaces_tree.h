// Makes trees of interfaces from XML.
#ifndef IPAV_TESTS_REPORT_INTERFACES_TREE_H_
#define IPAV_TESTS_REPORT_INTERFACES_TREE_H_

#include <string>

#include "host/datastore/data_tree.h"
#include "tests/host/fixtures.h"

namespace ipav::testing {

// `interfaces` are the elements in `interface`, in XML; empty for none.
inline datastore::DataTree Tree(const std::string& interfaces) {
  if (interfaces.empty()) {
    return datastore::DataTree::Empty(host_test::ProjectModel());
  }
  return host_test::ProjectTree(
      "<config xmlns=\"urn:vorplex:config\"><interface>" + interfaces +
      "</interface></config>");
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_REPORT_INTERFACES_TREE_H_
