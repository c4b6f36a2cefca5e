// A candidate, the running configuration that it would replace, and the
// difference.
#ifndef IPAV_HOST_DATASTORE_TRANSACTION_H_
#define IPAV_HOST_DATASTORE_TRANSACTION_H_

#include <optional>
#include <utility>

#include "host/base/stopwatch.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"
#include "host/datastore/input_text.h"
#include "host/datastore/model.h"

namespace ipav::datastore {

// The running configuration: a text that is made into a tree only when the
// whole tree is needed. Finding the changes of a candidate mostly needs less.
class Running {
 public:
  // An empty configuration.
  explicit Running(const Model& model) : model_(model) {}
  // `reading` is the time that it took to get the text.
  Running(const Model& model, InputText text, base::Duration reading = {})
      : model_(model), text_(std::move(text)) {
    times_.text = reading;
  }

  const Model& model() const { return model_; }
  const std::optional<InputText>& text() const { return text_; }

  // Whether the tree is made already.
  bool has_tree() const { return tree_.has_value(); }

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

// Neither copied nor moved: the changes point into it.
class Transaction {
 public:
  // The candidate is the tree of that text. Throws InputError if the model
  // refuses the running configuration. Borrows `running`.
  Transaction(const Running& running, DataTree candidate,
              const InputText& text);
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  const DataTree& running() const { return running_.Tree(); }
  const DataTree& candidate() const { return candidate_; }
  const Diff& diff() const { return *diff_; }

 private:
  bool CompareTexts(const InputText& text);

  const Running& running_;
  const DataTree candidate_;
  std::optional<DataTree> running_part_;  // without the shared part
  std::optional<Diff> diff_;
};

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_TRANSACTION_H_
