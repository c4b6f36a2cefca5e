// What the plain model answers about configurations of the embedded host.
#ifndef IPAV_TESTS_MODEL_DESCRIBED_H_
#define IPAV_TESTS_MODEL_DESCRIBED_H_

#include <libyang/libyang.h>

#include <set>
#include <string>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/model.h"
#include "tests/model/plain_model.h"

namespace ipav::model {

const datastore::Model& ProjectModel();

// All leaves with one of these names.
std::vector<const lyd_node*> LeavesOf(const datastore::DataTree& tree,
                                      const std::set<std::string>& names);

// The answers to these calls, made one after the other in one life cycle.
std::vector<Answer> AnswersTo(const std::vector<commit::Answer>& calls,
                              const datastore::DataTree& running,
                              const datastore::DataTree& tree);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_DESCRIBED_H_
