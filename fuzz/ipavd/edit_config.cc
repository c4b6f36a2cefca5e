// A series of edits of NETCONF clients on a configuration with nodes of every
// kind.
//
// Legal: one error and no nodes; or a configuration. With continue-on-error: a
// configuration, and the errors of the omitted parts. The edited configuration
// itself does not change. An error has a message, and an absolute path or none.
// The configuration's own text gives the same configuration if it is merged, if
// it replaces, if it edits an empty configuration, and if it is read as a
// configuration. Created in an empty configuration it gives the same; created
// again it is an error. Removed or deleted it leaves an empty configuration;
// deleting it there is an error, removing it there has no effect. A repeated
// edit that only merges has no effect. The data model accepts the configuration
// exactly when it accepts its text, unless there is anydata or anyxml.
//
// Input: lines of options, a blank and an edit. Options: "r" or "n" for the
// default operations replace and none, "c" for continue-on-error, "i" for a
// configuration without operations that replaces everything. An edit is XML, or
// its short form (ipavd/short_xml.h).

#include "ipavd/store/edit_config.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/ipavd/short_xml.h"
#include "fuzz/support/byte_reader.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/memory_file.h"
#include "fuzz/support/target.h"
#include "host/base/c_ptr.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_error.h"
#include "host/datastore/libyang_error.h"
#include "host/datastore/model.h"
#include "ipavd/store/commit_gate.h"
#include "ipavd/store/nodes.h"

namespace ipav::fuzz {

namespace {

using datastore::DataTree;
using datastore::InputError;
using datastore::Model;
using store::Edited;
using store::EditRules;
using store::ErrorTag;
using store::Nodes;
using store::OnError;
using store::Operation;

constexpr char kStart[] =
    "top(text'hello number'9 flag'true pet'dog either'auto first'one value'3 "
    "value'1 step'up step'down usual'c "
    "entry(name'one serial's1 inner(x'x) pair(a'1 b'true c'c)) "
    "entry(name'two serial's2 level'2) "
    "rule(number'20 action'stop) rule(number'10 action'go) "
    "present(needed'yes) a1'way) "
    "alone'alone many'm1 many'm2 element(name'e text't)";

const Model& KindsModel() {
  static const Model kModel(IPAV_FUZZ_KINDS_DIR, IPAV_FUZZ_YANG_EXTENSION);
  return kModel;
}

// The start of a top element, with the namespaces that an edit needs.
std::string TopElement(const std::string& name) {
  return name +
         " xmlns=\"urn:kinds\" xmlns:k=\"urn:kinds\" "
         "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
         "xmlns:y=\"urn:ietf:params:xml:ns:yang:1\" "
         "xmlns:wd=\"urn:ietf:params:xml:ns:netconf:default:1.0\"";
}

const ShortNames& Names() {
  static const ShortNames kNames = {{{"top", TopElement("top")},
                                     {"alone", TopElement("alone")},
                                     {"many", TopElement("many")},
                                     {"element", TopElement("element")}},
                                    {{"operation", "nc:operation"},
                                     {"insert", "y:insert"},
                                     {"key", "y:key"},
                                     {"value", "y:value"},
                                     {"default", "wd:default"}}};
  return kNames;
}

// ---- Texts of configurations -----------------------------------------------

// Writes each element without content as <name/>. libyang writes <name></name>
// where it leaves out an empty container, which means nothing (RFC
// 7950, 7.5.1), and reads that as an element without content.
std::string WithShortEmptyElements(std::string text) {
  std::size_t at = 0;
  while ((at = text.find("></", at)) != std::string::npos) {
    const std::size_t open = text.rfind('<', at);
    if (text[open + 1] != '/' && text[at - 1] != '/') {
      text.replace(at, text.find('>', at + 1) - at, "/");
    }
    ++at;
  }
  return text;
}

// The library sorts nodes of the model that are in anydata when it reads its
// own text again: there, only the tags are compared.
std::string WithSortedAnydata(const std::string& text) {
  const std::size_t begin = text.find("<any");
  const std::size_t end = text.rfind("</any>");
  if (begin > end || end == std::string::npos) return text;
  std::vector<std::string> tags;
  std::istringstream content(text.substr(begin, end - begin));
  for (std::string tag; std::getline(content, tag, '<');) tags.push_back(tag);
  std::sort(tags.begin(), tags.end());
  std::string sorted;
  for (const std::string& tag : tags) sorted += "<" + tag;
  return text.substr(0, begin) + sorted + text.substr(end);
}

// With and without default nodes.
std::string AllOf(const Nodes& nodes) {
  const auto text = [&](std::uint32_t options) {
    return WithSortedAnydata(WithShortEmptyElements(
        store::TextOf(nodes.get(), LYD_PRINT_SHRINK | options)));
  };
  return text(LYD_PRINT_WD_ALL) + "\n" + text(0);
}

// Each top node that is not there by default, with an operation.
std::vector<std::string> EachWithOperation(const Nodes& nodes,
                                           const std::string& operation) {
  std::vector<std::string> texts;
  for (const lyd_node* node = nodes.get(); node != nullptr; node = node->next) {
    char* printed = nullptr;
    Require(
        lyd_print_mem(&printed, node, LYD_XML,
                      LYD_PRINT_SHRINK | LYD_PRINT_WD_EXPLICIT) == LY_SUCCESS,
        "a node that cannot be printed");
    const base::CText owner(printed);
    if (printed == nullptr) continue;
    std::string text = printed;
    text.insert(text.find_first_of(" />"),
                " xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
                "nc:operation=\"" +
                    operation + "\"");
    texts.push_back(text);
  }
  return texts;
}

std::string WithOperation(const Nodes& nodes, const std::string& operation) {
  std::string all;
  for (const std::string& text : EachWithOperation(nodes, operation)) {
    all += text;
  }
  return all;
}

// ---- Edits -----------------------------------------------------------------

struct Edit {
  EditRules rules;
  bool replaces_all = false;
  std::string text;
};

Edit EditOf(const std::string& line) {
  const std::size_t blank = std::min(line.find(' '), line.size());
  Edit edit;
  for (const char option : line.substr(0, blank)) {
    if (option == 'r') edit.rules.default_operation = Operation::kReplace;
    if (option == 'n') edit.rules.default_operation = Operation::kNone;
    if (option == 'c') edit.rules.on_error = OnError::kContinue;
    if (option == 'i') {
      edit.rules.allows_operations = false;
      edit.replaces_all = true;
    }
  }
  if (edit.replaces_all) edit.rules.on_error = OnError::kUndo;
  edit.text = line.substr(std::min(blank + 1, line.size()));
  if (edit.text.empty() || edit.text[0] != '<') {
    edit.text = FromShortXml(edit.text, Names());
  }
  return edit;
}

EditRules RulesOf(Operation default_operation) {
  EditRules rules;
  rules.default_operation = default_operation;
  return rules;
}

// Applies an edit, which must have no errors.
Nodes Succeed(const Nodes& base, const std::string& text,
              const EditRules& rules) {
  Edited edited = store::EditConfig(KindsModel(), base.get(), text, rules);
  if (!edited.errors.empty()) {
    Finding("an edit that must succeed: " + edited.errors[0].message + " at " +
            edited.errors[0].path + "\n" + text);
  }
  return std::move(edited.nodes);
}

void RequireEqual(const Nodes& one, const Nodes& other, const char* what) {
  const std::string text = AllOf(one);
  const std::string other_text = AllOf(other);
  if (text != other_text) {
    Finding(std::string(what) + "\n" + text + "\n" + other_text);
  }
}

void RequireError(const Nodes& base, const std::string& text, ErrorTag tag) {
  const Edited edited = store::EditConfig(KindsModel(), base.get(), text, {});
  Require(edited.errors.size() == 1 && edited.errors[0].tag == tag,
          "an error of another kind");
}

// A configuration's own text, as an edit of it, must not change it.
void RequireOwnTextChangesNothing(const Nodes& nodes) {
  const std::string text = store::TextOf(nodes.get());
  RequireEqual(nodes, Succeed(nodes, text, RulesOf(Operation::kMerge)),
               "merged with itself");
  RequireEqual(nodes, Succeed(nodes, text, RulesOf(Operation::kReplace)),
               "replaced by itself");
  RequireEqual(nodes, Succeed(nodes, text, RulesOf(Operation::kNone)),
               "edited by its own text without an operation");
  EditRules plain;
  plain.allows_operations = false;
  RequireEqual(nodes, Succeed(nullptr, text, plain), "read from its own text");
}

void RequireComesAndGoes(const Nodes& nodes) {
  const Nodes empty = Succeed(nullptr, "", {});
  RequireEqual(nodes, Succeed(empty, WithOperation(nodes, "create"), {}),
               "created");
  RequireEqual(empty, Succeed(nodes, WithOperation(nodes, "remove"), {}),
               "removed");
  RequireEqual(empty, Succeed(nodes, WithOperation(nodes, "delete"), {}),
               "deleted");
  RequireEqual(empty, Succeed(empty, WithOperation(nodes, "remove"), {}),
               "removed where it is not");
  for (const std::string& text : EachWithOperation(nodes, "create")) {
    RequireError(nodes, text, ErrorTag::kDataExists);
  }
  for (const std::string& text : EachWithOperation(nodes, "delete")) {
    RequireError(empty, text, ErrorTag::kDataMissing);
  }
}

// Whether the data model accepts a text, read as ipav check reads files.
bool Accepts(const std::string& text) {
  if (text.find_first_not_of(" \n") == std::string::npos) {
    return store::CommitGate(KindsModel(), {}).Complete(nullptr).error ==
           std::nullopt;
  }
  static const MemoryFile kFile;
  kFile.Write(text);
  try {
    static_cast<void>(DataTree::FromFile(KindsModel(), kFile.path()));
    return true;
  } catch (const InputError&) {
    return false;
  }
}

void RequireSameJudgement(const Nodes& nodes) {
  const std::string text = store::TextOf(nodes.get());
  // libyang accepts less in a file than in an edit.
  const bool has_any = text.find("<any") != std::string::npos ||
                       text.find("<xml") != std::string::npos;
  if (has_any) return;
  const store::Judgement judgement =
      store::CommitGate(KindsModel(), {}).Complete(store::Copy(nodes.get()));
  const bool is_accepted = !judgement.error.has_value();
  if (is_accepted != Accepts(text)) {
    Finding("judged otherwise than its text: " +
            (is_accepted ? "accepted" : judgement.error->message) + "\n" +
            text);
  }
}

// Whether an edit has only elements to merge.
bool OnlyMerges(const Edit& edit) {
  return edit.rules.default_operation == Operation::kMerge &&
         edit.text.find("operation=") == std::string::npos &&
         edit.text.find("insert=") == std::string::npos &&
         edit.text.find("default=") == std::string::npos;
}

void RequireErrors(const Edited& edited, OnError on_error) {
  for (const store::RpcError& error : edited.errors) {
    Require(!error.message.empty(), "an error without a message");
    Require(error.path.empty() || error.path[0] == '/',
            "a path that is not absolute");
  }
  if (on_error == OnError::kContinue) return;
  Require(edited.errors.size() <= 1, "errors behind the first one");
  Require(edited.errors.empty() || edited.nodes == nullptr, "an edit in part");
}

// Applies an edit to a configuration, and checks the result.
Nodes Apply(const Edit& edit, Nodes nodes) {
  const std::string before = AllOf(nodes);
  Edited edited =
      store::EditConfig(KindsModel(), edit.replaces_all ? nullptr : nodes.get(),
                        edit.text, edit.rules);
  Require(AllOf(nodes) == before, "an edit of its base");
  RequireErrors(edited, edit.rules.on_error);
  if (!edited.errors.empty() && edit.rules.on_error == OnError::kUndo) {
    return nodes;
  }
  // An unchanged configuration was checked before.
  if (AllOf(edited.nodes) == before) return nodes;
  RequireOwnTextChangesNothing(edited.nodes);
  RequireComesAndGoes(edited.nodes);
  RequireSameJudgement(edited.nodes);
  if (edited.errors.empty() && OnlyMerges(edit)) {
    RequireEqual(edited.nodes, Succeed(edited.nodes, edit.text, edit.rules),
                 "merged again");
  }
  return std::move(edited.nodes);
}

void ApplyAll(const std::vector<std::string>& lines) {
  datastore::ClearErrors(KindsModel().context());
  static const Nodes kFirst =
      Succeed(nullptr, FromShortXml(kStart, Names()), {});
  Nodes nodes = store::Copy(kFirst.get());
  for (const std::string& line : lines) {
    nodes = Apply(EditOf(line), std::move(nodes));
  }
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ipav::fuzz::ApplyAll(ipav::fuzz::LinesOf(data, size));
  return 0;
}
