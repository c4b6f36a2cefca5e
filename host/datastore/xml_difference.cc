#include "host/datastore/xml_difference.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/datastore/well_formed.h"

namespace ipav::datastore {

namespace {

// Thrown if this file cannot compare the texts.
struct TooHard {};

struct Tag {
  std::string_view text;
  std::string_view name;  // as written, with its prefix
  bool is_empty = false;  // <a/>
};

// Walks the elements of one level, from left to right.
class Siblings {
 public:
  explicit Siblings(std::string_view text) : text_(text) { SkipToElement(); }

  // Whether no element follows: at an end tag, or at the end of the text.
  bool IsAtEnd() const {
    return at_ == text_.size() || text_.compare(at_, 2, "</") == 0;
  }

  // The text from here to its end.
  std::string_view Rest() const { return text_.substr(at_); }

  // Returns the next element and moves after it.
  std::string_view Next() {
    const std::size_t begin = at_;
    at_ = BehindTag(begin);
    if (text_[at_ - 2] != '/') FindEnd();
    const std::string_view element = text_.substr(begin, at_ - begin);
    SkipToElement();
    return element;
  }

  // Returns the start tag of the next element and moves to its first child.
  Tag Enter() {
    const std::size_t begin = at_;
    at_ = BehindTag(begin);
    Tag tag;
    tag.text = text_.substr(begin, at_ - begin);
    tag.is_empty = text_[at_ - 2] == '/';
    tag.name = tag.text.substr(1, tag.text.find_first_of(" \t\r\n/>", 1) - 1);
    SkipToElement();
    return tag;
  }

  // Returns the end tag of the parent and moves after it.
  std::string_view Leave() {
    if (text_.compare(at_, 2, "</") != 0) throw TooHard();
    const std::size_t begin = at_;
    at_ = BehindTag(begin);
    const std::string_view tag = text_.substr(begin, at_ - begin);
    SkipToElement();
    return tag;
  }

  // Skips an element of that size.
  void Skip(std::size_t size) {
    at_ += size;
    SkipToElement();
  }

 private:
  // Skips blanks and comments. A comment is compared with nothing, so it must
  // be well-formed by itself.
  void SkipToElement() {
    for (;;) {
      while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
      if (text_.compare(at_, 4, "<!--") != 0) return;
      const std::size_t end = Behind("-->", at_ + 4);
      if (!IsPlainXml(text_.substr(at_, end - at_))) throw TooHard();
      at_ = end;
    }
  }

  static bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
  }

  std::size_t Behind(std::string_view mark, std::size_t from) const {
    const std::size_t found = text_.find(mark, from);
    if (found == std::string_view::npos) throw TooHard();
    return found + mark.size();
  }

  // The position after the tag that begins at `begin`.
  std::size_t BehindTag(std::size_t begin) const {
    if (begin >= text_.size() || text_[begin] != '<') throw TooHard();
    // Most tags are short: a loop over characters is faster than a search.
    for (std::size_t at = begin; at < text_.size(); ++at) {
      const char c = text_[at];
      if (c == '>') return at + 1;
      if (c == '"' || c == '\'') {  // an attribute's value
        at = Behind(text_.substr(at, 1), at + 1) - 1;
      }
    }
    throw TooHard();
  }

  // The position after a comment or a CDATA section.
  std::size_t BehindNoElement(std::size_t begin) const {
    if (text_.compare(begin, 4, "<!--") == 0) return Behind("-->", begin + 4);
    if (text_.compare(begin, 9, "<![CDATA[") != 0) throw TooHard();
    return Behind("]]>", begin + 9);
  }

  // Moves after the end of the element with the content that begins here.
  void FindEnd() {
    for (std::size_t depth = 1;;) {
      const std::size_t tag = text_.find('<', at_);
      if (tag == std::string_view::npos || tag + 1 == text_.size()) {
        throw TooHard();
      }
      switch (text_[tag + 1]) {
        case '/':
          at_ = BehindTag(tag);
          if (--depth == 0) return;
          break;
        case '!':
          at_ = BehindNoElement(tag);
          break;
        case '?':
          throw TooHard();
        default:
          at_ = BehindTag(tag);
          if (text_[at_ - 2] != '/') ++depth;
      }
    }
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

using Elements = std::vector<std::string_view>;

// Appends the remaining elements of a level.
void TakeAll(Siblings* siblings, Elements* elements) {
  while (!siblings->IsAtEnd()) elements->push_back(siblings->Next());
}

// Removes the elements that are in both; each occurrence removes one of the
// other.
void RemoveShared(Elements* first, Elements* second) {
  while (!first->empty() && !second->empty() &&
         first->back() == second->back()) {
    first->pop_back();
    second->pop_back();
  }
  std::unordered_map<std::string_view, std::size_t> in_second;
  for (const std::string_view element : *second) ++in_second[element];
  std::unordered_map<std::string_view, std::size_t> shared;
  const auto is_shared = [&](std::string_view element) {
    const auto found = in_second.find(element);
    if (found == in_second.end() || found->second == 0) return false;
    --found->second;
    ++shared[element];
    return true;
  };
  first->erase(std::remove_if(first->begin(), first->end(), is_shared),
               first->end());
  const auto was_shared = [&](std::string_view element) {
    const auto found = shared.find(element);
    if (found == shared.end() || found->second == 0) return false;
    --found->second;
    return true;
  };
  second->erase(std::remove_if(second->begin(), second->end(), was_shared),
                second->end());
}

class Comparison {
 public:
  Comparison(const Model& model, std::size_t most)
      : model_(model), most_(most) {}

  // Compares the rest of one level, the children of a node of the model (null:
  // the top). Stops where the rest of both texts is the same, else after the
  // level.
  void Compare(Siblings* firsts, Siblings* seconds, const lysc_node* parent,
               XmlDifference* left) {
    Elements in_first;
    Elements in_second;
    bool in_step = true;
    while (!all_same_ && in_step) {
      if (firsts->IsAtEnd() || seconds->IsAtEnd()) break;
      // Containers first: SkipShared() would read the whole container.
      if (Descend(firsts, seconds, parent, left)) continue;
      if (SkipShared(firsts, seconds)) continue;
      in_first.push_back(firsts->Next());
      in_second.push_back(seconds->Next());
      all_same_ = firsts->Rest() == seconds->Rest();
      in_step = all_same_ || StartSame(*firsts, *seconds);
    }
    if (!all_same_) {
      TakeAll(firsts, &in_first);
      TakeAll(seconds, &in_second);
    }
    RemoveShared(&in_first, &in_second);
    for (const std::string_view element : in_first) left->first += element;
    for (const std::string_view element : in_second) left->second += element;
    if (left->first.size() + left->second.size() > most_) throw TooHard();
  }

 private:
  // Skips the next element if it is the same in both, else false.
  static bool SkipShared(Siblings* firsts, Siblings* seconds) {
    Siblings ahead = *seconds;
    const std::string_view text = ahead.Next();
    if (firsts->Rest().substr(0, text.size()) != text) return false;
    *seconds = ahead;
    firsts->Skip(text.size());
    return true;
  }

  static bool StartSame(Siblings firsts, Siblings seconds) {
    const bool ends = firsts.IsAtEnd();
    if (ends || seconds.IsAtEnd()) return ends && seconds.IsAtEnd();
    return firsts.Next() == seconds.Next();
  }

  // Compares the children if both are at the same container, else false.
  bool Descend(Siblings* firsts, Siblings* seconds, const lysc_node* parent,
               XmlDifference* left) {
    Siblings in_first = *firsts;
    Siblings in_second = *seconds;
    const Tag tag = in_first.Enter();
    const lysc_node* container =
        tag.is_empty ? nullptr : ContainerOf(tag.name, parent);
    if (container == nullptr || in_second.Enter().text != tag.text) {
      return false;
    }

    XmlDifference inside;
    Compare(&in_first, &in_second, container, &inside);
    if (!inside.first.empty() || !inside.second.empty()) {
      Wrap(tag, inside.first, &left->first);
      Wrap(tag, inside.second, &left->second);
    }
    if (!all_same_) {
      // The second text is well-formed, and so is the first if its end is the
      // same.
      if (in_first.Leave() != in_second.Leave()) throw TooHard();
      all_same_ = in_first.Rest() == in_second.Rest();
    }
    *firsts = in_first;
    *seconds = in_second;
    return true;
  }

  static void Wrap(const Tag& tag, const std::string& inside,
                   std::string* result) {
    result->append(tag.text).append(inside);
    result->append("</").append(tag.name).append(">");
  }

  // The container of the model of that name; null for anything else.
  const lysc_node* ContainerOf(std::string_view name,
                               const lysc_node* parent) const {
    const std::size_t colon = name.find(':');
    if (colon != std::string_view::npos) name.remove_prefix(colon + 1);
    const lysc_node* node = model_.FindChild(parent, "", name);
    return node != nullptr && node->nodetype == LYS_CONTAINER ? node : nullptr;
  }

  const Model& model_;
  const std::size_t most_;
  bool all_same_ = false;  // from here on
};

// Whether a comparison reached the end of both texts, or a point from which
// they are the same.
bool IsWhole(const Siblings& first, const Siblings& second) {
  return first.Rest() == second.Rest();
}

// The text after an XML declaration, if both begin with the same one.
bool SkipDeclaration(std::string_view* first, std::string_view* second) {
  if (first->substr(0, 2) != "<?" && second->substr(0, 2) != "<?") return true;
  const std::size_t end = first->find("?>");
  if (end == std::string_view::npos ||
      second->substr(0, end + 2) != first->substr(0, end + 2)) {
    return false;
  }
  first->remove_prefix(end + 2);
  second->remove_prefix(end + 2);
  return true;
}

}  // namespace

std::optional<XmlDifference> FindXmlDifference(const Model& model,
                                               std::string_view first,
                                               std::string_view second) {
  constexpr std::size_t kPart = 4;
  if (!SkipDeclaration(&first, &second)) return std::nullopt;
  XmlDifference left;
  try {
    Siblings firsts(first);
    Siblings seconds(second);
    Comparison(model, (first.size() + second.size()) / 2 / kPart)
        .Compare(&firsts, &seconds, nullptr, &left);
    if (!IsWhole(firsts, seconds)) return std::nullopt;
  } catch (const TooHard&) {
    return std::nullopt;
  }
  return left;
}

}  // namespace ipav::datastore
