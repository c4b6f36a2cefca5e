#include "host/datastore/transaction.h"

#include <utility>

#include "host/base/stopwatch.h"
#include "host/datastore/well_formed.h"
#include "host/datastore/xml_difference.h"

namespace ipav::datastore {

namespace {

// Whether each node of a part of one configuration is in the other
// configuration only if it is also in the part of the other. Otherwise the
// first configuration has the node twice: also in the shared part. False for
// state data, which may have further constraints.
bool AreOnce(const DataTree& part, const lyd_node* parent,
             const DataTree& other_part, const lyd_node* other_parent,
             const DataTree& other, const lyd_node* whole_parent) {
  for (const lyd_node* node = part.FirstChild(parent); node != nullptr;
       node = node->next) {
    if ((node->schema->flags & LYS_CONFIG_R) != 0) return false;
    const lyd_node* whole = Counterpart(other, whole_parent, *node);
    if (whole == nullptr) continue;
    const lyd_node* in_part = Counterpart(other_part, other_parent, *node);
    if (in_part == nullptr) return false;
    if (node->schema->nodetype == LYS_CONTAINER &&
        !AreOnce(part, node, other_part, in_part, other, whole)) {
      return false;
    }
  }
  return true;
}

}  // namespace

const DataTree& Running::Tree() const {
  if (!tree_.has_value()) {
    tree_ = text_.has_value() ? DataTree::FromText(model_, *text_, &times_)
                              : DataTree::Empty(model_);
  }
  return *tree_;
}

Transaction::Transaction(const Running& running, DataTree candidate,
                         const InputText& text)
    : running_(running), candidate_(std::move(candidate)) {
  if (!CompareTexts(text)) diff_.emplace(running_.Tree(), candidate_);
}

// Finds the changes by comparing the parts of the texts that differ. False if
// this does not suffice to find them, or to know that the running configuration
// is valid.
//
// The model has accepted the shared part in the candidate. The rest of the
// running configuration is validated here. This requires a model in which each
// node can be validated alone, and nodes that are not also in the shared part.
bool Transaction::CompareTexts(const InputText& text) {
  const Model& model = running_.model();
  const std::optional<InputText>& before = running_.text();
  if (!before.has_value() || running_.has_tree() || before->format != LYD_XML ||
      text.format != LYD_XML || !model.judges_nodes_alone()) {
    return false;
  }
  const std::optional<XmlDifference> texts =
      FindXmlDifference(model, before->data(), text.data());
  if (!texts.has_value()) return false;

  running_part_ = DataTree::FromPart(model, texts->first);
  std::optional<DataTree> part = DataTree::FromPart(model, texts->second);
  if (!running_part_.has_value() || !part.has_value() ||
      !AreOnce(*running_part_, nullptr, *part, nullptr, candidate_, nullptr) ||
      !running_part_->Complete() || !part->Complete()) {
    return false;
  }
  // The shared part is well-formed in the candidate.
  if (!IsPlainXml(texts->first)) RequireWellFormed(*before);
  diff_.emplace(*running_part_, *part, candidate_);
  return true;
}

}  // namespace ipav::datastore
