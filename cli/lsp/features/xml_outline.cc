// Reads XML that may be half typed.

#include <algorithm>
#include <optional>
#include <string>

#include "cli/lsp/features/outline.h"
#include "host/base/bytes.h"
#include "host/datastore/wrapper.h"

namespace ipav::features {

namespace {

using base::StartsWith;
using Item = Outline::Item;
using Kind = Outline::Kind;
using Node = Outline::Node;

constexpr char kBlanks[] = " \t\r\n";
constexpr char kEndsOfName[] = " \t\r\n/<>\"'=";

// An end tag closes one of that many innermost elements.
constexpr std::size_t kMostSearched = 64;

// The value of an attribute in a start tag.
std::optional<std::string_view> AttributeIn(std::string_view tag,
                                            const std::string& name) {
  for (std::size_t at = tag.find(name); at != std::string_view::npos && at > 0;
       at = tag.find(name, at + 1)) {
    if (std::string_view(kBlanks).find(tag[at - 1]) == std::string_view::npos) {
      continue;
    }
    std::size_t quote = tag.find_first_not_of(kBlanks, at + name.size());
    if (quote == std::string_view::npos || tag[quote] != '=') continue;
    quote = tag.find_first_not_of(kBlanks, quote + 1);
    if (quote == std::string_view::npos) continue;
    if (tag[quote] != '"' && tag[quote] != '\'') continue;
    const std::size_t end = tag.find(tag[quote], quote + 1);
    if (end == std::string_view::npos) continue;
    return tag.substr(quote + 1, end - quote - 1);
  }
  return std::nullopt;
}

class XmlReader {
 public:
  explicit XmlReader(Outline* outline)
      : outline_(*outline), text_(outline->text()) {}

  void Run() {
    while ((at_ = text_.find('<', at_)) < text_.size()) {
      const std::string_view rest = text_.substr(at_);
      if (StartsWith(rest, "<!--")) {
        SkipComment("-->");
      } else if (StartsWith(rest, "<![CDATA[")) {
        at_ = After("]]>");
      } else if (StartsWith(rest, "<?")) {
        SkipComment("?>");
      } else if (StartsWith(rest, "<!")) {
        SkipComment(">");
      } else if (StartsWith(rest, "</")) {
        ReadEndTag();
      } else {
        ReadStartTag();
      }
    }
    while (open_ != Outline::kRoot) Close({text_.size(), text_.size()}, false);
  }

 private:
  std::size_t After(std::string_view mark) const {
    const std::size_t found = text_.find(mark, at_);
    return found == std::string_view::npos ? text_.size() : found + mark.size();
  }

  void SkipComment(std::string_view mark) {
    const std::size_t end = After(mark);
    outline_.AddComment({at_, end});
    at_ = end;
  }

  // The end of the tag that begins here, behind its '>'; none if the next tag
  // begins before.
  std::optional<std::size_t> EndOfTag(std::size_t at) const {
    const std::string_view tag = text_.substr(0, text_.find('<', at));
    while ((at = tag.find_first_of(">\"'", at)) < tag.size()) {
      if (tag[at] == '>') return at + 1;
      const std::size_t quote = tag.find(tag[at], at + 1);
      if (quote == std::string_view::npos) return std::nullopt;
      at = quote + 1;
    }
    return std::nullopt;
  }

  // Where a tag that is not finished ends: at its last character.
  std::size_t EndOfTyped(std::size_t at) const {
    const std::size_t next = std::min(text_.find('<', at), text_.size());
    return std::max(text_.find_last_not_of(kBlanks, next - 1) + 1, at);
  }

  // The end of the blanks of the same line, which also belong to the tag.
  std::size_t EndOfBlanks() const {
    return std::min(text_.find_first_not_of(" \t", at_), text_.size());
  }

  void ReadStartTag() {
    const std::size_t begin = at_;
    const std::size_t name_end =
        std::min(text_.find_first_of(kEndsOfName, begin + 1), text_.size());
    const std::optional<std::size_t> end = EndOfTag(name_end);
    at_ = end ? *end : EndOfTyped(name_end);

    Item item;
    item.kind = end ? Kind::kNode : Kind::kTypedName;
    item.head = {begin, at_};
    item.whole = {begin, end ? at_ : EndOfBlanks()};
    item.content = {at_, at_};
    item.name = {begin + 1, name_end};
    Identify(&item);
    const Node node = outline_.Add(open_, item);
    if (!end) return;
    open_ = node;
    if (text_[at_ - 2] == '/') Close({at_, at_}, true);
  }

  // Finds the node of the model and the module of children.
  void Identify(Item* item) {
    const std::string_view tag = outline_.TextOf(item->head);
    const Item& parent = outline_[open_];
    item->module = parent.module;
    const std::optional<std::string_view> own = AttributeIn(tag, "xmlns");
    if (own) item->module = ModuleOf(*own);

    const std::size_t colon = outline_.TextOf(item->name).find(':');
    const lys_module* module = item->module;
    std::string_view space = own.value_or("");
    bool is_inherited = !own;
    if (colon != std::string_view::npos) {
      const std::string prefix(outline_.TextOf(item->name).substr(0, colon));
      space = SpaceOf(prefix, tag);
      module = ModuleOf(space);
      is_inherited = false;
      item->name.begin += colon + 1;
    }
    const std::string_view name = outline_.TextOf(item->name);
    item->schema = outline_.SchemaBelow(open_, module, is_inherited, name);
    item->is_wrapper =
        parent.is_wrapper && item->schema == nullptr &&
        datastore::IsWrapper(space.empty() ? wrapper_space_ : space, name);
    if (item->is_wrapper && !space.empty()) wrapper_space_ = space;
  }

  // The namespace of a prefix in a start tag, or in the elements around it.
  std::string_view SpaceOf(const std::string& prefix,
                           std::string_view tag) const {
    const std::string attribute = "xmlns:" + prefix;
    std::optional<std::string_view> space = AttributeIn(tag, attribute);
    std::size_t levels = 0;
    for (Node node = open_;
         !space && node != Outline::kRoot && levels < kMostSearched;
         node = outline_[node].parent, ++levels) {
      space = AttributeIn(outline_.TextOf(outline_[node].head), attribute);
    }
    return space.value_or("");
  }

  const lys_module* ModuleOf(std::string_view space) {
    if (space != last_space_ || last_module_ == nullptr) {
      last_space_ = space;
      last_module_ = ly_ctx_get_module_implemented_ns(
          outline_.model().context(), std::string(space).c_str());
    }
    return last_module_;
  }

  void ReadEndTag() {
    const std::size_t begin = at_;
    const std::size_t name_begin = begin + 2;
    const std::size_t name_end =
        std::min(text_.find_first_of(kEndsOfName, name_begin), text_.size());
    const std::size_t end = text_.find_first_not_of(kBlanks, name_end);
    if (end == std::string_view::npos || text_[end] != '>') {
      at_ = EndOfTyped(name_end);
      AddTypedEndTag({begin, EndOfBlanks()}, {name_begin, name_end});
      return;
    }
    at_ = end + 1;
    CloseNamed(text_.substr(name_begin, name_end - name_begin), {begin, at_});
  }

  void AddTypedEndTag(Span whole, Span name) {
    Item item;
    item.kind = Kind::kEndTag;
    item.whole = item.head = whole;
    item.content = {whole.end, whole.end};
    item.name = name;
    outline_.Add(open_, item);
  }

  // Closes the innermost element of that name, and those in it. An end tag of
  // no element changes nothing.
  void CloseNamed(std::string_view name, Span tag) {
    Node node = open_;
    for (std::size_t i = 0; node != Outline::kRoot && i < kMostSearched; ++i) {
      if (NameWithPrefix(node) == name) {
        while (open_ != node) Close({tag.begin, tag.begin}, false);
        Close(tag, true);
        return;
      }
      node = outline_[node].parent;
    }
  }

  std::string_view NameWithPrefix(Node node) const {
    const Item& item = outline_[node];
    return outline_.TextOf({item.head.begin + 1, item.name.end});
  }

  void Close(Span tag, bool is_closed) {
    open_ = outline_.Close(open_, tag, is_closed);
  }

  Outline& outline_;
  std::string_view text_;
  std::size_t at_ = 0;
  Node open_ = Outline::kRoot;
  std::string_view wrapper_space_;
  std::string_view last_space_;
  const lys_module* last_module_ = nullptr;
};

}  // namespace

void ReadXmlOutline(Outline* outline) { XmlReader(outline).Run(); }

}  // namespace ipav::features
