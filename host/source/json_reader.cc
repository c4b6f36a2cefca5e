#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/source/source_tree.h"

namespace ipav::source {

namespace {

// The tokens of a JSON text, in order. The characters between them are skipped.
class Tokens {
 public:
  Tokens(std::string_view text, std::size_t start) : text_(text), at_(start) {}

  Span Take() {
    constexpr char kBetween[] = " \t\r\n,:";
    Span token;
    token.begin = std::min(text_.find_first_not_of(kBetween, at_), Size());
    token.end = token.begin == Size() ? Size() : EndOf(token.begin);
    at_ = token.end;
    return token;
  }

  std::string_view TextOf(Span token) const {
    return text_.substr(token.begin, token.end - token.begin);
  }

 private:
  std::size_t Size() const { return text_.size(); }

  std::size_t EndOf(std::size_t begin) const {
    switch (text_[begin]) {
      case '"':
        return EndOfString(begin);
      case '{':
      case '}':
      case '[':
      case ']':
        return begin + 1;
      default:
        return std::min(text_.find_first_of(" \t\r\n,:]}", begin), Size());
    }
  }

  std::size_t EndOfString(std::size_t begin) const {
    std::size_t at = begin + 1;
    while (at < Size() && text_[at] != '"') at += text_[at] == '\\' ? 2U : 1U;
    return std::min(at + 1, Size());
  }

  std::string_view text_;
  std::size_t at_;
};

// Receives the values of the text, each together with its token.
class JsonReader {
 public:
  using number_integer_t = nlohmann::json::number_integer_t;
  using number_unsigned_t = nlohmann::json::number_unsigned_t;
  using number_float_t = nlohmann::json::number_float_t;
  using string_t = nlohmann::json::string_t;
  using binary_t = nlohmann::json::binary_t;

  JsonReader(std::string_view text, std::size_t start, SourceTree* tree)
      : tokens_(text, start), tree_(*tree) {}

  bool start_object(std::size_t /*size*/) {
    const Span brace = tokens_.Take();
    const SourceTree::Node node =
        open_.empty() ? SourceTree::kRoot : Add(brace);
    open_.push_back({node, false, member_, brace.begin, tree_.size()});
    return true;
  }
  bool key(const string_t& name) {
    member_.head = tokens_.Take();
    const std::size_t colon = name.find(':');
    // "@module:name" holds the metadata of the member "module:name".
    const std::size_t mark = name.rfind('@', 0) == 0 ? 1 : 0;
    // libyang takes the module of the parent for an empty prefix, too.
    if (colon == std::string::npos || colon == mark) {
      member_.module = open_.back().node == SourceTree::kRoot
                           ? tree_.NumberOf("")
                           : tree_[open_.back().node].module;
    } else {
      member_.module =
          tree_.NumberOf(std::string_view{name}.substr(mark, colon - mark));
    }
    const std::size_t local = colon == std::string::npos ? mark : colon + 1;
    member_.name = tree_.NumberOf(name.substr(0, mark) + name.substr(local));
    return true;
  }
  bool end_object() { return Close(); }

  // Each element of an array is an instance of the array's member.
  bool start_array(std::size_t /*size*/) {
    const Span bracket = tokens_.Take();
    if (open_.empty()) return false;  // no YANG data
    open_.push_back(
        {open_.back().node, true, member_, bracket.begin, tree_.size()});
    return true;
  }
  bool end_array() { return Close(); }

  bool string(const string_t& value) { return Value(tokens_.Take(), value); }
  bool null() { return Literal(); }
  bool boolean(bool /*value*/) { return Literal(); }
  bool number_integer(number_integer_t /*value*/) { return Literal(); }
  bool number_unsigned(number_unsigned_t /*value*/) { return Literal(); }
  // An integer may be written with an exponent.
  bool number_float(number_float_t value, const string_t& /*text*/) {
    constexpr number_float_t kLargest = 9e15;  // all below are exact
    if (std::nearbyint(value) != value || std::abs(value) > kLargest) {
      return Literal();
    }
    return Value(tokens_.Take(),
                 std::to_string(static_cast<std::int64_t>(value)));
  }
  bool binary(const binary_t& /*value*/) { return false; }  // not in JSON texts
  bool parse_error(std::size_t /*place*/, const std::string& /*token*/,
                   const nlohmann::json::exception& /*error*/) {
    return false;
  }

 private:
  struct Member {
    std::uint32_t module = 0;
    std::uint32_t name = 0;
    Span head;
  };
  struct Open {
    SourceTree::Node node;  // of an array: its parent
    bool is_array;
    Member member;  // whose value it is
    std::size_t begin;
    std::size_t nodes_before;
  };

  SourceTree::Node Add(Span token) {
    const SourceTree::Node node =
        tree_.Add(open_.back().node, member_.module, member_.name, token);
    tree_[node].head = member_.head;
    tree_[node].end = token.end;
    return node;
  }

  bool Value(Span token, std::string_view value) {
    if (open_.empty()) return false;
    tree_.SetValue(Add(token), value);
    return true;
  }

  bool Literal() {
    const Span token = tokens_.Take();
    return Value(token, tokens_.TextOf(token));
  }

  bool Close() {
    const Span bracket = tokens_.Take();
    const Open closed = open_.back();
    open_.pop_back();
    member_ = closed.member;
    if (!closed.is_array) {
      tree_[closed.node].end = bracket.end;
    } else if (tree_.size() == closed.nodes_before) {
      // The place of an empty array is needed if the model has a leaf there.
      Add({closed.begin, bracket.end});
    }
    return true;
  }

  Tokens tokens_;
  SourceTree& tree_;
  std::vector<Open> open_;
  Member member_;  // whose value follows
};

}  // namespace

void ReadJson(std::string_view text, std::size_t start, SourceTree* tree) {
  JsonReader reader(text, start, tree);
  const std::string_view json = text.substr(start);
  static_cast<void>(
      nlohmann::json::sax_parse(json.begin(), json.end(), &reader));
}

}  // namespace ipav::source
