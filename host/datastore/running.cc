#include "host/datastore/running.h"

namespace ipav::datastore {

const DataTree& Running::Tree() const {
  if (!tree_.has_value()) {
    tree_ = text_.has_value() ? DataTree::FromText(model_, *text_, &times_)
                              : DataTree::Empty(model_);
  }
  return *tree_;
}

}  // namespace ipav::datastore
