#include "host/datastore/input_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "host/base/utf8.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_file.h"

namespace ipav::datastore {

namespace {

constexpr char kBlanks[] = " \t\r\n";

// Number of newlines before a position.
unsigned long LinesBefore(const std::string& text, std::size_t place) {
  return static_cast<unsigned long>(
      std::count(text.data(), text.data() + place, '\n'));
}

// Where the text starts after a byte order mark and blanks, which libyang
// either refuses or counts twice.
std::size_t StartOf(const std::string& text, const std::string& path) {
  const std::size_t mark = text.rfind("\xef\xbb\xbf", 0) == 0 ? 3 : 0;
  const std::size_t start = text.find_first_not_of(kBlanks, mark);
  if (start == std::string::npos) throw InputError(path, "is empty");
  return start;
}

LYD_FORMAT FormatOf(const std::string& text, std::size_t start,
                    const std::string& path) {
  if (text[start] == '<') return LYD_XML;
  if (text[start] == '{' || text[start] == '[') return LYD_JSON;
  throw InputError(path, LinesBefore(text, start) + 1, "neither XML nor JSON");
}

// For libyang, NUL ends the text: it would ignore the rest.
void RefuseNul(const std::string& text, const std::string& path) {
  const std::size_t nul = text.find('\0');
  if (nul == std::string::npos) return;
  throw InputError(path, LinesBefore(text, nul) + 1, "contains a NUL byte");
}

void RefuseOtherEncodings(const std::string& text, const std::string& path) {
  const std::size_t end = base::ValidUtf8Size(text);
  if (end == text.size()) return;
  throw InputError(path, LinesBefore(text, end) + 1, "is not UTF-8");
}

// Counts the nested arrays of a JSON text.
class JsonNesting {
 public:
  // An array or object begins, inside of `depth` others.
  void Begin(std::size_t depth, bool is_array) {
    arrays_around_.resize(depth);
    const std::size_t around = depth > 0 ? arrays_around_.back() : 0;
    arrays_around_.push_back(is_array ? around + 1 : 0);
    deepest_ = std::max(deepest_, arrays_around_.back());
  }

  // How many arrays are nested without an object in between.
  std::size_t deepest_arrays() const { return deepest_; }

 private:
  std::vector<std::size_t> arrays_around_;  // per open one, with itself
  std::size_t deepest_ = 0;
};

// The deepest nesting in YANG data is a leaf-list of empty values: [[null]].
constexpr std::size_t kMaxArraysInArrays = 2;

// libyang accepts JSON that ends too early, ignores text after its end, and
// crashes on three nested arrays.
void RefuseBadJson(const std::string& text, const std::string& path) {
  using nlohmann::json;
  using Event = json::parse_event_t;
  JsonNesting nesting;
  const auto keep_nothing = [&](int depth, Event event, json&) {
    if (event == Event::object_start || event == Event::array_start) {
      nesting.Begin(static_cast<std::size_t>(depth),
                    event == Event::array_start);
    }
    return false;
  };
  try {
    const json nothing = json::parse(text, keep_nothing);
  } catch (const json::parse_error& error) {
    // "[...] parse error at line L, column C: reason"
    const std::string what = error.what();
    const std::size_t place = std::min(error.byte, text.size());
    throw InputError(path, LinesBefore(text, place) + 1,
                     what.substr(what.find(": ") + 2));
  } catch (const json::out_of_range& error) {
    // "[...] number overflow parsing '1e999'", without a position
    const std::string what = error.what();
    throw InputError(path, what.substr(what.find("] ") + 2));
  }
  if (nesting.deepest_arrays() > kMaxArraysInArrays) {
    throw InputError(path, "JSON arrays are nested deeper than YANG data are");
  }
}

}  // namespace

InputText CheckText(const std::string& path, std::string bytes) {
  InputText text{path, std::move(bytes), 0, LYD_UNKNOWN};
  text.start = StartOf(text.bytes, path);
  text.format = FormatOf(text.bytes, text.start, path);
  RefuseNul(text.bytes, path);
  RefuseOtherEncodings(text.bytes, path);
  if (text.format == LYD_JSON) RefuseBadJson(text.bytes, path);
  return text;
}

InputText ReadText(const std::string& path, std::size_t max_size) {
  return CheckText(path, ReadInput(path, max_size));
}

}  // namespace ipav::datastore
