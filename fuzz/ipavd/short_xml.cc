#include "fuzz/ipavd/short_xml.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <set>
#include <vector>

namespace ipav::fuzz {

namespace {

bool IsNameChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' ||
         c == '_' || c == '.';
}

bool MayBeginName(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// Whether the character ends a value that is not in quotes.
bool IsEnd(char c) {
  return c == '(' || c == ')' || c == '\'' || c == '@' || c == ' ' || c == '\n';
}

// Any bytes as a text that XML can hold.
std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '<' || c == '&' || c == '"') {
      escaped += "&#" + std::to_string(static_cast<int>(c)) + ";";
    } else if (c == '\n' || c == '\t' || (c >= ' ' && c <= '~')) {
      escaped += c;
    } else {
      escaped += '?';
    }
  }
  return escaped;
}

class Expander {
 public:
  Expander(const std::string& text, const ShortNames& names)
      : text_(text), names_(names) {}

  std::string Run() {
    while (at_ < text_.size()) Step();
    CloseTag();
    while (!open_.empty()) Leave();
    return xml_;
  }

 private:
  void Step() {
    const char c = text_[at_];
    if (MayBeginName(c)) return Begin(TakeName());
    ++at_;
    if (c == '(') {
      Enter();
    } else if (c == ')') {
      CloseTag();
      if (!open_.empty()) Leave();
    } else if (c == '\'') {
      AddText(Escape(TakeValue()));
    } else if (c == '@') {
      TakeAttribute();
    }
  }

  std::string TakeName() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && IsNameChar(text_[at_])) ++at_;
    return text_.substr(begin, at_ - begin);
  }

  std::string TakeValue() {
    const bool is_quoted = at_ < text_.size() && text_[at_] == '"';
    const std::size_t begin = is_quoted ? at_ + 1 : at_;
    std::size_t end = begin;
    while (end < text_.size() &&
           (is_quoted ? text_[end] != '"' : !IsEnd(text_[end]))) {
      ++end;
    }
    at_ = std::min(is_quoted ? end + 1 : end, text_.size());
    return text_.substr(begin, end - begin);
  }

  // The start tag stays open for attributes.
  void Begin(const std::string& name) {
    CloseTag();
    const auto known = names_.elements.find(name);
    const std::string tag =
        known == names_.elements.end() ? name : known->second;
    xml_ += "<" + tag;
    tag_ = tag.substr(0, tag.find(' '));
    attributes_.clear();
  }

  void TakeAttribute() {
    const bool is_name = at_ < text_.size() && MayBeginName(text_[at_]);
    const std::string name = is_name ? TakeName() : "";
    if (at_ < text_.size() && text_[at_] == '=') ++at_;
    const std::string value = Escape(TakeValue());
    const auto known = names_.attributes.find(name);
    const std::string full =
        known == names_.attributes.end() ? name : known->second;
    if (tag_.empty() || name.empty() || !attributes_.insert(full).second) {
      return;
    }
    xml_ += " " + full + "=\"" + value + "\"";
  }

  void Enter() {
    if (tag_.empty()) return;
    xml_ += ">";
    open_.push_back(tag_);
    tag_.clear();
  }

  // Adds the text of the element whose start tag is open, and ends it; or text
  // between elements.
  void AddText(const std::string& text) {
    if (tag_.empty()) {
      xml_ += text;
      return;
    }
    xml_ += ">" + text + "</" + tag_ + ">";
    tag_.clear();
  }

  void CloseTag() {
    if (tag_.empty()) return;
    xml_ += "/>";
    tag_.clear();
  }

  void Leave() {
    xml_ += "</" + open_.back() + ">";
    open_.pop_back();
  }

  const std::string& text_;
  const ShortNames& names_;
  std::size_t at_ = 0;
  std::string xml_;
  std::string tag_;  // of the element whose start tag is open
  std::set<std::string> attributes_;
  std::vector<std::string> open_;
};

}  // namespace

std::string FromShortXml(const std::string& text, const ShortNames& names) {
  return Expander(text, names).Run();
}

}  // namespace ipav::fuzz
