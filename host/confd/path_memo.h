// Finds the nodes that path texts name. It is fast for a text that begins like
// the previous one: shared steps are neither parsed nor looked up again. Most
// paths of a plug-in share steps, such as the leaves of one list entry.
#ifndef IPAV_HOST_CONFD_PATH_MEMO_H_
#define IPAV_HOST_CONFD_PATH_MEMO_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/confd/path.h"
#include "host/datastore/data_tree.h"

namespace ipav::confd {

class PathMemo {
 public:
  // Borrows the tree.
  explicit PathMemo(const datastore::DataTree& tree) : tree_(tree) {}

  // Equals Resolve(tree, ParsePath(path)), including what it throws.
  Target Find(const std::string& path);

  // Steps that were read so far, not counting those remembered.
  std::size_t steps_read() const { return steps_read_; }

 private:
  struct Step {
    std::size_t end;  // of its text
    Target target;
  };

  void Forget(std::string_view path);
  bool ReadStep(std::string_view path);
  bool ReadKeys(std::string_view path, Step* step);
  void FindNode(Target* target) const;

  const datastore::DataTree& tree_;
  std::string path_;                    // of the steps
  std::vector<Step> steps_;             // remembered, from the root
  std::vector<std::string_view> keys_;  // of the current step
  std::size_t steps_read_ = 0;
};

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_PATH_MEMO_H_
