#include "ipavd/transport/attributes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace ipav::transport {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kEndOfName = " \t\r\n=/>";

constexpr std::string_view kPrefix = "no-namespace-of-";

// What begins with a '<', and is no start tag, with its end.
constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kOthers =
    {{{"<!--", "-->"},
      {"<![CDATA[", "]]>"},
      {"<!", ">"},
      {"<?", "?>"},
      {"</", ">"}}};

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  // The names that are to be marked, as parts of the text.
  std::vector<std::string_view> Run() {
    for (GoTo(text_.find('<')); !AtEnd(); GoTo(text_.find('<', at_))) {
      if (!SkipOther()) ReadTag();
    }
    return std::move(names_);
  }

 private:
  bool AtEnd() const { return at_ >= text_.size(); }

  void GoTo(std::size_t place) { at_ = std::min(place, text_.size()); }

  void GoBehind(std::string_view mark) {
    const std::size_t place = text_.find(mark, at_);
    GoTo(place == std::string_view::npos ? place : place + mark.size());
  }

  bool SkipOther() {
    const auto* other =
        std::find_if(kOthers.begin(), kOthers.end(), [this](const auto& each) {
          return text_.substr(at_, each.first.size()) == each.first;
        });
    if (other == kOthers.end()) return false;
    at_ += other->first.size();
    GoBehind(other->second);
    return true;
  }

  std::string_view ReadName() {
    const std::size_t start = at_;
    GoTo(text_.find_first_of(kEndOfName, at_));
    return text_.substr(start, at_ - start);
  }

  void ReadTag() {
    ++at_;  // the '<'
    ReadName();
    const bool is_root = !std::exchange(has_root_, true);
    while (ReadAttribute(!is_root)) {
    }
  }

  // False at the end of the tag, and where it is none.
  bool ReadAttribute(bool is_marked) {
    GoTo(text_.find_first_not_of(kBlanks, at_));
    const std::string_view name = ReadName();
    if (name.empty()) return false;
    GoTo(text_.find_first_not_of(" \t\r\n=", at_));
    const std::string_view quote = text_.substr(at_, 1);
    if (quote != "\"" && quote != "'") return false;
    ++at_;
    GoBehind(quote);
    if (is_marked && (name == "operation" || name == "insert")) {
      names_.push_back(name);
    }
    return true;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  bool has_root_ = false;
  std::vector<std::string_view> names_;
};

}  // namespace

std::string MarkAttributes(std::string_view message) {
  std::string marked;
  std::size_t done = 0;
  for (const std::string_view name : Scanner(message).Run()) {
    const auto place = static_cast<std::size_t>(name.data() - message.data());
    marked.append(message.substr(done, place - done));
    marked.append(kPrefix).append(name).append(1, ':');
    done = place;
  }
  return marked.append(message.substr(done));
}

}  // namespace ipav::transport
