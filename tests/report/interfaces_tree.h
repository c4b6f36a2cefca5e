// Makes trees of interfaces from XML.
#ifndef IPAV_TESTS_REPORT_INTERFACES_TREE_H_
#define IPAV_TESTS_REPORT_INTERFACES_TREE_H_

#include <string>

#include "host/datastore/data_tree.h"
#include "tests/host/fixtures.h"

namespace ipav::testing {

// `interfaces` are the elements in `interface`, in XML; empty for none.
inline datastore::DataTree Tree(const std::string& interfaces) {
  const datastore::Model& model = host_test::ProjectModel();
  if (interfaces.empty()) return datastore::DataTree::Empty(model);
  const host_test::TempDir files;
  return datastore::DataTree::FromFile(
      model, files.Write("data.xml",
                         "<config xmlns=\"urn:vorplex:config\"><interface>" +
                             interfaces + "</interface></config>"));
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_REPORT_INTERFACES_TREE_H_
