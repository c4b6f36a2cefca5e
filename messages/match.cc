#include "messages/match.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "host/base/bytes.h"

namespace ipav::messages {

namespace {

using base::StartsWith;

constexpr std::size_t kMaxReadings = 16;

// The most positions that are tried, so that a hostile name does not take long.
constexpr std::size_t kMaxTrials = 10000;

bool HasOnly(std::string_view text, std::string_view characters) {
  return !text.empty() &&
         text.find_first_not_of(characters) == std::string_view::npos;
}

// Whether the plug-in can have filled the text into a field of that name. A
// name from the configuration can be any text.
bool CanHold(std::string_view field, std::string_view text) {
  const std::size_t hyphen = field.rfind('-');  // <other-prefix> is a <prefix>
  if (hyphen != std::string_view::npos) field.remove_prefix(hyphen + 1);
  if (field == "name" || field == "vrf") return true;
  if (field == "interface") {
    return StartsWith(text, "l3 ") || StartsWith(text, "loopback ") ||
           StartsWith(text, "mgmt ");
  }
  if (field == "prefix") {
    return HasOnly(text, "0123456789abcdefABCDEF.:/-") &&
           text.find('/') != std::string_view::npos;
  }
  if (field == "address" || field == "area") {
    return HasOnly(text, "0123456789abcdefABCDEF.:");
  }
  return HasOnly(StartsWith(text, "-") ? text.substr(1) : text, "0123456789");
}

// A pattern taken apart: literals[0] names[0] literals[1] ... literals[n].
struct Pieces {
  explicit Pieces(std::string_view pattern) {
    std::size_t begin = 0;
    for (std::size_t open = pattern.find('<'); open != std::string_view::npos;
         open = pattern.find('<', begin)) {
      const std::size_t close = pattern.find('>', open);
      literals.push_back(pattern.substr(begin, open - begin));
      names.push_back(pattern.substr(open + 1, close - open - 1));
      begin = close + 1;
    }
    literals.push_back(pattern.substr(begin));
  }

  std::size_t LiteralSize() const {
    std::size_t size = 0;
    for (const std::string_view literal : literals) size += literal.size();
    return size;
  }

  std::vector<std::string_view> literals;
  std::vector<std::string_view> names;
};

// Finds every way to fill the fields of one pattern.
class Search {
 public:
  Search(std::string_view text, std::string_view pattern, Fields fields)
      : text_(text), pieces_(pattern), fields_(fields) {}

  std::vector<std::vector<std::string_view>> Run() {
    if (!StartsWith(text_, pieces_.literals.front())) return {};
    const std::size_t at = pieces_.literals.front().size();
    if (!pieces_.names.empty()) {
      Fill(at);
    } else if (at == text_.size()) {
      found_.emplace_back();
    }
    return found_;
  }

  const std::vector<std::string_view>& names() const { return pieces_.names; }

 private:
  // Fills the next field, which begins there.
  void Fill(std::size_t begin) {
    const std::size_t field = filled_.size();
    const std::string_view literal = pieces_.literals[field + 1];
    if (field + 1 == pieces_.names.size()) {
      if (text_.size() < begin + literal.size()) return;
      const std::size_t end = text_.size() - literal.size();
      if (text_.substr(end) == literal) Take(begin, end);
      return;
    }
    for (std::size_t end = text_.find(literal, begin);
         end != std::string_view::npos && trials_ < kMaxTrials;
         end = text_.find(literal, end + 1)) {
      Take(begin, end);
    }
  }

  void Take(std::size_t begin, std::size_t end) {
    ++trials_;
    const std::size_t field = filled_.size();
    const std::string_view value = text_.substr(begin, end - begin);
    if (fields_ == Fields::kAsPrinted &&
        !CanHold(pieces_.names[field], value)) {
      return;
    }
    filled_.push_back(value);
    if (filled_.size() == pieces_.names.size()) {
      if (found_.size() < kMaxReadings) found_.push_back(filled_);
    } else {
      Fill(end + pieces_.literals[field + 1].size());
    }
    filled_.pop_back();
  }

  std::string_view text_;
  Pieces pieces_;
  Fields fields_;
  std::size_t trials_ = 0;
  std::vector<std::string_view> filled_;
  std::vector<std::vector<std::string_view>> found_;
};

void ReadAs(const Message& message, const Text& text,
            const std::string& printed, Fields fields,
            std::vector<Reading>* readings) {
  Search search(printed, text.pattern, fields);
  for (const std::vector<std::string_view>& values : search.Run()) {
    Reading reading{&message, &text, {}};
    for (std::size_t i = 0; i < values.size(); ++i) {
      reading.fields.emplace_back(search.names()[i], values[i]);
    }
    readings->push_back(std::move(reading));
  }
}

std::vector<Reading> ReadAll(const std::string& text, Fields fields,
                             bool with_logs) {
  std::vector<Reading> readings;
  for (const Message& message : Messages()) {
    if (!message.refuses && !with_logs) continue;
    for (const Text& one : message.texts) {
      ReadAs(message, one, text, fields, &readings);
    }
  }
  return readings;
}

std::size_t LiteralSize(const Reading& reading) {
  return Pieces(reading.text->pattern).LiteralSize();
}

}  // namespace

bool Reading::HasField(const std::string& name) const {
  return std::any_of(fields.begin(), fields.end(),
                     [&](const auto& field) { return field.first == name; });
}

const std::string& Reading::Field(const std::string& name) const {
  return std::find_if(fields.begin(), fields.end(),
                      [&](const auto& field) { return field.first == name; })
      ->second;
}

std::vector<Reading> ReadText(const std::string& text, Fields fields) {
  return ReadAll(text, fields, false);
}

std::vector<Reading> BestReadings(const std::string& text) {
  std::vector<Reading> readings = ReadAll(text, Fields::kAsPrinted, false);
  if (readings.empty()) readings = ReadAll(text, Fields::kAnything, true);
  if (readings.empty()) return {};
  const Reading best = *std::max_element(
      readings.begin(), readings.end(), [](const Reading& a, const Reading& b) {
        return LiteralSize(a) < LiteralSize(b);
      });
  readings.erase(
      std::remove_if(readings.begin(), readings.end(),
                     [&](const Reading& one) { return one.text != best.text; }),
      readings.end());
  return readings;
}

}  // namespace ipav::messages
