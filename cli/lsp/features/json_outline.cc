// Reads JSON that may be half typed.

#include <algorithm>
#include <string>

#include "cli/lsp/features/outline.h"

namespace ipav::features {

namespace {

using Item = Outline::Item;
using Kind = Outline::Kind;
using Node = Outline::Node;

constexpr char kBlanks[] = " \t\r\n";

// A bracket closes one of that many innermost arrays and objects.
constexpr std::size_t kMostSearched = 64;

class JsonReader {
 public:
  explicit JsonReader(Outline* outline)
      : outline_(*outline), text_(outline->text()) {}

  void Run() {
    outline_.Mutable(Outline::kRoot).is_wrapper = false;  // until its brace
    while ((at_ = text_.find_first_not_of(kBlanks, at_)) < text_.size()) {
      switch (text_[at_]) {
        case '{':
        case '[':
          Open(text_[at_] == '[');
          break;
        case '}':
        case ']':
          CloseBracket(text_[at_] == ']');
          break;
        case ',':
          EndMember(at_);
          ++at_;
          break;
        case ':':
          ++at_;
          break;
        default:
          ReadToken();
      }
    }
    EndMember(text_.size());
    while (open_ != Outline::kRoot) Close(text_.size(), false);
  }

 private:
  // ---- Objects and arrays --------------------------------------------------

  void Open(bool is_array) {
    if (open_ == Outline::kRoot && !has_object_ && !is_array) {
      has_object_ = true;  // the object that is the text
      outline_.Mutable(open_).is_wrapper = true;
      outline_.Mutable(open_).content = {at_ + 1, text_.size()};
      ++at_;
      return;
    }
    const Node node = TakeMember(at_);
    Item& item = outline_.Mutable(node);
    if (is_array) item.kind = Kind::kArray;
    item.content = {at_ + 1, at_ + 1};
    item.is_closed = false;
    open_ = node;
    ++at_;
  }

  // The member or the element of an array whose value begins here.
  Node TakeMember(std::size_t begin) {
    const Node member = member_;
    member_ = Outline::kNone;
    if (member != Outline::kNone) return member;
    Item item;
    item.whole = item.head = item.name = {begin, begin};
    if (outline_[open_].kind == Kind::kArray) {
      item.schema = outline_[open_].schema;
      item.module = outline_[open_].module;
    }
    return outline_.Add(open_, item);
  }

  // Closes the innermost array or object, and what is in it. A bracket of none
  // changes nothing.
  void CloseBracket(bool is_array) {
    EndMember(at_);
    Node node = open_;
    std::size_t levels = 0;
    while (node != Outline::kRoot && levels < kMostSearched &&
           IsArray(node) != is_array) {
      node = outline_[node].parent;
      ++levels;
    }
    const std::size_t begin = at_++;
    if (levels == kMostSearched) return;
    if (node == Outline::kRoot) {
      if (is_array || !has_object_) return;
      while (open_ != Outline::kRoot) Close(begin, false);
      outline_.Mutable(open_).content.end = begin;
      return;
    }
    while (open_ != node) Close(begin, false);
    Close(begin, true);
  }

  bool IsArray(Node node) const { return outline_[node].kind == Kind::kArray; }

  void Close(std::size_t at, bool is_closed) {
    open_ = outline_.Close(open_, {at, at + (is_closed ? 1 : 0)}, is_closed);
  }

  // ---- Names and values ----------------------------------------------------

  void ReadToken() {
    const Span token{at_, EndOfToken()};
    at_ = token.end;
    const std::size_t next = text_.find_first_not_of(kBlanks, at_);
    const bool is_name = next != std::string_view::npos && text_[next] == ':';
    if (is_name || (member_ == Outline::kNone && !IsArray(open_))) {
      EndMember(token.begin);
      AddName(token, is_name ? next + 1 : 0);
    } else {
      SetValue(token);
    }
  }

  std::size_t EndOfToken() const {
    const bool is_string = text_[at_] == '"';
    if (!is_string) {
      return std::min(text_.find_first_of(" \t\r\n\",:{}[]", at_),
                      text_.size());
    }
    std::size_t at = at_ + 1;
    while (at < text_.size() && text_[at] != '"' && text_[at] != '\n') {
      at += text_[at] == '\\' && at + 1 < text_.size() ? 2U : 1U;
    }
    if (at < text_.size() && text_[at] == '"') return at + 1;
    return text_.find_last_not_of(kBlanks, std::min(at, text_.size()) - 1) + 1;
  }

  bool IsClosed(Span token) const {
    return token.end - token.begin > 1 && text_[token.begin] == '"' &&
           text_[token.end - 1] == '"';
  }

  // The text of a token without its quotes.
  Span Unquoted(Span token) const {
    return {token.begin + (text_[token.begin] == '"' ? 1 : 0),
            token.end - (IsClosed(token) ? 1 : 0)};
  }

  // `value` is the place behind the colon, 0 if there is none.
  void AddName(Span token, std::size_t value) {
    Item item;
    item.kind = value == 0 ? Kind::kTypedName : Kind::kNode;
    item.is_closed = value == 0 && IsClosed(token);
    item.whole = item.head = token;
    item.name = Unquoted(token);
    const std::size_t content = value == 0 ? token.end : value;
    item.whole.end = content;
    item.content = {content, content};
    Identify(&item);
    const Node node = outline_.Add(open_, item);
    if (value != 0) member_ = node;
  }

  void Identify(Item* item) {
    const std::size_t colon = outline_.TextOf(item->name).find(':');
    const lys_module* module = outline_[open_].module;
    const bool is_inherited = colon == std::string_view::npos;
    if (!is_inherited) {
      const std::string name(outline_.TextOf(item->name).substr(0, colon));
      module = ly_ctx_get_module_implemented(outline_.model().context(),
                                             name.c_str());
      item->name.begin += colon + 1;
    }
    const std::string_view name = outline_.TextOf(item->name);
    item->schema = outline_.SchemaBelow(open_, module, is_inherited, name);
    item->module = item->schema == nullptr ? nullptr : item->schema->module;
    item->is_wrapper =
        open_ == Outline::kRoot && item->schema == nullptr && name == "data";
  }

  void SetValue(Span token) {
    Item& item = outline_.Mutable(TakeMember(token.begin));
    item.content = Unquoted(token);
    item.whole.end = token.end;
    item.is_closed = IsClosed(token);
  }

  // A member without a value has the rest of its line, up to `end`, for it.
  void EndMember(std::size_t end) {
    if (member_ == Outline::kNone) return;
    Item& item = outline_.Mutable(member_);
    member_ = Outline::kNone;
    const std::string_view rest = text_.substr(0, end);
    item.content.end = std::min(rest.find('\n', item.content.begin), end);
    item.whole.end = item.content.end;
  }

  Outline& outline_;
  std::string_view text_;
  std::size_t at_ = 0;
  Node open_ = Outline::kRoot;
  Node member_ = Outline::kNone;  // waits for its value
  bool has_object_ = false;
};

}  // namespace

void ReadJsonOutline(Outline* outline) { JsonReader(outline).Run(); }

}  // namespace ipav::features
