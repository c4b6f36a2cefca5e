#include "cli/lsp/features/snippet.h"

#include <vector>

#include "cli/lsp/features/schema_text.h"

namespace ipav::features {

namespace {

bool IsInner(const lysc_node& node) {
  return (node.nodetype & (LYS_CONTAINER | LYS_LIST)) != 0;
}

bool IsPresence(const lysc_node& node) {
  return node.nodetype == LYS_CONTAINER && (node.flags & LYS_PRESENCE) != 0;
}

// The children without which the node is not valid: keys, mandatory leaves, and
// containers with such children.
std::vector<const lysc_node*> RequiredIn(const lysc_node& parent) {
  std::vector<const lysc_node*> required;
  const lysc_node* child = nullptr;
  while ((child = lys_getnext(child, &parent, nullptr, LYS_GETNEXT_NOCHOICE)) !=
         nullptr) {
    if ((child->flags & LYS_CONFIG_R) != 0) continue;
    const bool is_plain_container =
        child->nodetype == LYS_CONTAINER && !IsPresence(*child);
    if (lysc_is_key(child) || (child->flags & LYS_MAND_TRUE) != 0 ||
        (is_plain_container && !RequiredIn(*child).empty())) {
      required.push_back(child);
    }
  }
  return required;
}

// The text in a choice of a snippet, where more characters are special.
std::string Choice(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (std::string_view("\\$},|").find(c) != std::string_view::npos) {
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

// Without tab stops, so that the text stays JSON. No number: it might be taken
// for the user's.
std::string Placeholder(const lysc_node& leaf) {
  const std::vector<NamedValue> values = NamedValues(TypeOf(leaf));
  return values.empty() ? "null" : values.front().name;
}

}  // namespace

bool IsQuoted(const lysc_node& leaf) {
  switch (TypeOf(leaf).basetype) {
    case LY_TYPE_BOOL:
    case LY_TYPE_INT8:
    case LY_TYPE_INT16:
    case LY_TYPE_INT32:
    case LY_TYPE_UINT8:
    case LY_TYPE_UINT16:
    case LY_TYPE_UINT32:
      return false;
    default:
      return true;
  }
}

std::string JsonName(const lysc_node& schema, const lys_module* module) {
  return schema.module == module
             ? schema.name
             : std::string(schema.module->name) + ":" + schema.name;
}

std::string SnippetWriter::Element(const lysc_node& schema) {
  WriteElement(schema, module_, 0);
  return std::move(text_);
}

std::string SnippetWriter::Member(const lysc_node& schema) {
  WriteMember(schema, module_, 0);
  return std::move(text_);
}

std::string SnippetWriter::Value(const lysc_node& schema, bool is_in_array) {
  WriteValue(schema, is_in_array, 0);
  return std::move(text_);
}

std::string SnippetWriter::Text(std::string_view text) const {
  if (!style_.has_tab_stops) return std::string(text);
  std::string escaped;
  for (const char c : text) {
    if (c == '\\' || c == '$' || c == '}') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string SnippetWriter::Stop(const lysc_node* leaf) {
  if (!style_.has_tab_stops) return "";
  const std::string number = std::to_string(++stops_);
  if (leaf == nullptr) return "$" + number;
  std::string choices;
  for (const NamedValue& value : NamedValues(TypeOf(*leaf))) {
    choices += (choices.empty() ? "" : ",") + Choice(value.name);
  }
  return choices.empty() ? "$" + number : "${" + number + "|" + choices + "|}";
}

void SnippetWriter::WriteLine(std::size_t level) {
  text_ += "\n" + style_.indent;
  for (std::size_t i = 0; i < level; ++i) text_ += style_.unit;
}

void SnippetWriter::WriteElement(const lysc_node& schema,
                                 const lys_module* module, std::size_t level) {
  text_ += std::string("<") + schema.name;
  if (schema.module != module) {
    text_ += " xmlns=\"" + Text(schema.module->ns) + "\"";
  }
  if (!IsInner(schema)) {
    if (TypeOf(schema).basetype == LY_TYPE_EMPTY) {
      text_ += "/>";
      return;
    }
    text_ += ">" + Stop(&schema);
  } else {
    text_ += ">";
    const std::vector<const lysc_node*> children = RequiredIn(schema);
    for (const lysc_node* child : children) {
      WriteLine(level + 1);
      WriteElement(*child, schema.module, level + 1);
    }
    if (children.empty()) {
      WriteLine(level + 1);
      text_ += Stop(nullptr);
    }
    WriteLine(level);
  }
  text_ += std::string("</") + schema.name + ">";
}

void SnippetWriter::WriteMember(const lysc_node& schema,
                                const lys_module* module, std::size_t level) {
  text_ += "\"" + JsonName(schema, module) + "\": ";
  WriteValue(schema, /*is_in_array=*/false, level);
}

void SnippetWriter::WriteValue(const lysc_node& schema, bool is_in_array,
                               std::size_t level) {
  const bool is_array =
      !is_in_array && (schema.nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
  if (IsInner(schema)) {
    if (!is_array) return WriteObject(schema, level);
    text_ += "[";
    WriteLine(level + 1);
    WriteObject(schema, level + 1);
    WriteLine(level);
    text_ += "]";
    return;
  }
  if (TypeOf(schema).basetype == LY_TYPE_EMPTY) {
    text_ += "[null]";
    return;
  }
  const char* quote = IsQuoted(schema) ? "\"" : "";
  std::string value = Stop(&schema);
  if (value.empty() && !IsQuoted(schema)) value = Placeholder(schema);
  text_ +=
      (is_array ? "[" : "") + (quote + value) + quote + (is_array ? "]" : "");
}

void SnippetWriter::WriteObject(const lysc_node& schema, std::size_t level) {
  text_ += "{";
  const std::vector<const lysc_node*> children = RequiredIn(schema);
  for (const lysc_node* child : children) {
    if (child != children.front()) text_ += ",";
    WriteLine(level + 1);
    WriteMember(*child, schema.module, level + 1);
  }
  if (children.empty()) {
    WriteLine(level + 1);
    text_ += Stop(nullptr);
  }
  WriteLine(level);
  // In a snippet, a brace is special only in a placeholder.
  text_ += "}";
}

}  // namespace ipav::features
