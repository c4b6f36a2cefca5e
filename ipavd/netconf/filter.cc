#include "ipavd/netconf/filter.h"

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <unordered_set>

#include "host/base/time_limit.h"
#include "host/commit/child.h"
#include "host/datastore/libyang_error.h"
#include "host/datastore/libyang_ptr.h"
#include "ipavd/netconf/call.h"
#include "ipavd/netconf/selection.h"

namespace ipav::netconf {

namespace {

using datastore::NodeSet;
using store::ErrorTag;

std::optional<std::string> Attribute(const lyd_node& node, const char* name) {
  const lyd_meta* meta = lyd_find_meta(node.meta, nullptr, name);
  if (meta == nullptr) return std::nullopt;
  return lyd_get_meta_value(meta);
}

// A few nested predicates of XPath run without end, and so do many elements of
// a subtree filter without keys over many entries.
constexpr base::TimeLimit kFilterTime = std::chrono::seconds(5);

constexpr char kSelected = '1';
constexpr char kOther = '0';

// Visits all nodes of a tree, parents first.
template <typename Visit>
void ForEach(const lyd_node* first, const Visit& visit) {
  for (; first != nullptr; first = first->next) {
    visit(first);
    ForEach(lyd_child(first), visit);
  }
}

// A character for each node: whether the expression selects it. A result that
// is not a node set, or has nodes of another tree, selects none.
std::string Marks(const lyd_node* tree, const std::string& xpath) {
  if (tree == nullptr) return "";
  ly_set* found = nullptr;
  const LY_ERR result =
      lyd_find_xpath3(nullptr, tree, xpath.c_str(), nullptr, &found);
  const NodeSet owner(found);
  std::unordered_set<const lyd_node*> selected;
  for (std::uint32_t i = 0; result == LY_SUCCESS && i < found->count; ++i) {
    selected.insert(found->dnodes[i]);
  }
  std::string marks;
  ForEach(tree, [&](const lyd_node* node) {
    marks += selected.count(node) != 0 ? kSelected : kOther;
  });
  return marks;
}

// Why the expression cannot be evaluated over data of the model; empty if it
// can.
std::string Objection(const ly_ctx* context, const std::string& xpath) {
  datastore::ClearErrors(context);
  ly_set* found = nullptr;
  const LY_ERR result =
      lys_find_xpath(context, nullptr, xpath.c_str(), 0, &found);
  const NodeSet owner(found);
  for (const ly_err_item* item = ly_err_first(context); item != nullptr;
       item = item->next) {
    // libyang only warns of such a node, and crashes when data has it.
    std::string text = item->msg;
    const bool is_deref = text.find("xpath_deref") != std::string::npos;
    if (is_deref) return "deref() takes only a node that refers to another one";
    if (item->level == LY_LLERR) return text;
  }
  return result == LY_SUCCESS ? "" : "it is not a path of the data model";
}

// Marks() in a child process, which is killed after the time limit.
std::string MarksInTime(const ly_ctx* context, const lyd_node* tree,
                        const std::string& xpath) {
  constexpr char kMarks = 'm';
  constexpr char kObjection = 'o';
  const commit::ChildReport report = commit::RunInChild(
      [&](const commit::Reporter& reporter) {
        const std::string objection = Objection(context, xpath);
        if (objection.empty()) {
          reporter.Send({kMarks, {Marks(tree, xpath)}});
        } else {
          reporter.Send({kObjection, {objection}});
        }
      },
      kFilterTime);
  if (report.stopped == commit::Stopped::kTimeLimit) {
    throw TakesTooLong();
  }
  if (report.messages.empty()) {
    throw std::runtime_error("the attribute select cannot be followed");
  }
  const commit::Message& answer = report.messages[0];
  if (answer.kind == kMarks) return answer.texts.at(0);
  throw Refusal(ErrorTag::kBadAttribute,
                "The attribute select cannot be followed, " +
                    answer.texts.at(0) + ": " + xpath,
                {{"bad-attribute", "select"}, {"bad-element", "filter"}});
}

void SelectByXPath(const ly_ctx* context, const lyd_node* tree,
                   const std::string& xpath, Selection* selection) {
  const std::string marks = MarksInTime(context, tree, xpath);
  std::size_t place = 0;
  ForEach(tree, [&](const lyd_node* node) {
    if (marks.at(place++) == kSelected) selection->Add(node);
  });
}

const lyd_node* ElementsOf(const lyd_node& any) {
  const auto& node = reinterpret_cast<const lyd_node_any&>(any);
  return node.value_type == LYD_ANYDATA_DATATREE ? node.value.tree : nullptr;
}

}  // namespace

Refusal TakesTooLong() {
  return Refusal(store::MakeError(
      ErrorTag::kOperationFailed,
      "The filter takes more than " + base::InWords(kFilterTime) + "."));
}

Filter::Filter(const lyd_node& rpc) : context_(LYD_CTX(&rpc)) {
  const lyd_node* filter = Find(rpc, "filter");
  if (filter == nullptr) return;
  is_there_ = true;
  is_xpath_ = Attribute(*filter, "ietf-netconf:type") == "xpath";
  xpath_ = Attribute(*filter, "ietf-netconf:select");
  subtree_ = ElementsOf(*filter);
  if (is_xpath_ && !xpath_.has_value()) {
    throw Refusal(ErrorTag::kMissingAttribute,
                  "A filter of type xpath needs the attribute select.",
                  {{"bad-attribute", "select"}, {"bad-element", "filter"}});
  }
}

store::Nodes Filter::Apply(const lyd_node* tree) const {
  Selection selection;
  if (!is_there_) {
    for (const lyd_node* node = tree; node != nullptr; node = node->next) {
      selection.Add(node);
    }
  } else if (is_xpath_) {
    SelectByXPath(context_, tree, *xpath_, &selection);
  } else {
    SelectSubtrees(tree, subtree_, base::Countdown(kFilterTime), &selection);
  }
  return selection.Copy(tree, context_);
}

}  // namespace ipav::netconf
