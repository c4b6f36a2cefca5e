#include "host/datastore/transaction.h"

#include <utility>

#include "host/base/stopwatch.h"
#include "host/datastore/well_formed.h"
#include "host/datastore/xml_difference.h"

namespace ipav::datastore {

namespace {

// Whether the nodes of a part of one configuration are in the other only where
// its part has them, too. Else the first configuration has them twice: once in
// what both share. State data, of which a model may say more, are never sound.
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

// Finds the changes in the parts of the texts that are not the same. False
// where that is not enough to know them, or to know that the running
// configuration is right.
//
// What both texts share the model has accepted in the candidate. What only the
// running configuration has is judged here, by a model that judges each node
// alone, and must not be in the shared part once more.
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
  RequireWellFormed(*before);
  diff_.emplace(*running_part_, *part, candidate_);
  return true;
}

}  // namespace ipav::datastore
