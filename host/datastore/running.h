// The running configuration: a text that is made into a tree when the tree is
// needed.
#ifndef IPAV_HOST_DATASTORE_RUNNING_H_
#define IPAV_HOST_DATASTORE_RUNNING_H_

#include <optional>
#include <utility>

#include "host/base/stopwatch.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_text.h"
#include "host/datastore/model.h"

namespace ipav::datastore {

class Running {
 public:
  // An empty configuration.
  explicit Running(const Model& model) : model_(model) {}
  // `reading` is the time that it took to get the text.
  Running(const Model& model, InputText text, base::Duration reading)
      : model_(model), text_(std::move(text)) {
    times_.text = reading;
  }

  const std::optional<InputText>& text() const { return text_; }

  // Throws InputError if the model refuses the text.
  const DataTree& Tree() const;

  // Times of the reading, as far as it was done.
  const ReadingTimes& times() const { return times_; }

 private:
  const Model& model_;
  std::optional<InputText> text_;
  mutable std::optional<DataTree> tree_;
  mutable ReadingTimes times_;
};

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_RUNNING_H_
