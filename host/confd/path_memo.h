// Finds what path texts name, quickly for a text that begins as the one before
// did: the steps that both share are neither read nor looked up again. Most
// texts of a plug-in are such, a leaf of the list entry that it is at.
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

  // As Resolve(tree, ParsePath(path)), also in what it throws.
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
  std::vector<Step> steps_;             // known, from the root
  std::vector<std::string_view> keys_;  // of the step at hand
  std::size_t steps_read_ = 0;
};

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_PATH_MEMO_H_
