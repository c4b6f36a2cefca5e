#include "host/datastore/input_text.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "host/base/utf8.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_file.h"
#include "host/datastore/wrapper.h"

namespace ipav::datastore {

namespace {

constexpr char kBlanks[] = " \t\r\n";
constexpr char kBetweenWords[] = " \t\r\n,:[]{}\"";
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

// Where the text starts after a byte order mark and blanks, which libyang
// either refuses or counts twice.
std::size_t StartOf(const std::string& text, const std::string& path) {
  const std::size_t mark =
      text.rfind(kByteOrderMark, 0) == 0 ? kByteOrderMark.size() : 0;
  const std::size_t start = text.find_first_not_of(kBlanks, mark);
  if (start == std::string::npos) throw InputError(path, "is empty");
  return start;
}

LYD_FORMAT FormatOf(const std::string& text, std::size_t start,
                    const std::string& path) {
  if (text[start] == '<') return LYD_XML;
  if (text[start] == '{' || text[start] == '[') return LYD_JSON;
  throw ErrorAt(path, text, start, "neither XML nor JSON");
}

// For libyang, NUL ends the text: it would ignore the rest.
void RefuseNul(const std::string& text, const std::string& path) {
  const std::size_t nul = text.find('\0');
  if (nul == std::string::npos) return;
  throw ErrorAt(path, text, nul, "contains a NUL byte");
}

void RefuseOtherEncodings(const std::string& text, const std::string& path) {
  const std::size_t end = base::ValidUtf8Size(text);
  if (end == text.size()) return;
  throw ErrorAt(path, text, end, "is not UTF-8");
}

// The deepest nesting in YANG data is a leaf-list of empty values: [[null]].
constexpr std::size_t kMaxArraysInArrays = 2;

// Listens to a JSON parser, and keeps the error.
class JsonListener {
 public:
  using number_integer_t = nlohmann::json::number_integer_t;
  using number_unsigned_t = nlohmann::json::number_unsigned_t;
  using number_float_t = nlohmann::json::number_float_t;
  using string_t = nlohmann::json::string_t;
  using binary_t = nlohmann::json::binary_t;

  explicit JsonListener(std::string_view text) : text_(text) {}

  // Where in the text, and why it is refused; empty if it is not.
  std::size_t error_at() const { return error_at_; }
  const std::string& error() const { return error_; }

  bool null() { return true; }
  bool boolean(bool /*value*/) { return true; }
  bool number_integer(number_integer_t /*value*/) { return true; }
  bool number_unsigned(number_unsigned_t /*value*/) { return true; }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) {
    return true;
  }
  bool string(const string_t& /*value*/) { return true; }
  bool binary(const binary_t& /*value*/) { return false; }
  bool key(const string_t& /*name*/) { return true; }
  bool start_object(std::size_t /*size*/) {
    arrays_around_.push_back(0);
    return true;
  }
  bool start_array(std::size_t /*size*/) {
    ++arrays_;
    // Counted without an object in between, with this one.
    const std::size_t arrays =
        (arrays_around_.empty() ? 0 : arrays_around_.back()) + 1;
    arrays_around_.push_back(arrays);
    if (arrays <= kMaxArraysInArrays) return true;
    error_ = "JSON arrays are nested deeper than YANG data are";
    error_at_ = LastArray();
    return false;
  }
  bool end_object() { return End(); }
  bool end_array() { return End(); }

  // `end` is where the parser is, after the wrong token.
  bool parse_error(std::size_t end, const std::string& token,
                   const nlohmann::json::exception& error) {
    // "[...] parse error at line L, column C: reason" or
    // "[...] number overflow parsing '1e999'"
    const std::string what = error.what();
    const std::size_t colon = what.find(": ");
    error_ =
        what.substr((colon == std::string::npos ? what.find("] ") : colon) + 2);
    error_at_ = std::min(end - 1, text_.size());
    const char last = error_at_ < text_.size() ? text_[error_at_] : ' ';
    const auto says = [&](const char* part) {
      return error_.find(part) != std::string::npos;
    };
    if (says("unexpected ") && std::strchr(":}]", last) == nullptr &&
        error_at_ < text_.size() &&
        (says("; expected '}'") || says("; expected ']'"))) {
      error_ = "a comma is missing before this";
    }
    if (says("invalid string") && last == '\n') {
      error_at_ = text_.rfind('"', error_at_);
      error_ = "this string has no end (write \")";
    } else if (last == '"') {
      error_at_ -= std::min(token.size() - 1, error_at_);
    } else if (std::strchr(kBetweenWords, last) == nullptr) {
      error_at_ = text_.find_last_of(kBetweenWords, error_at_) + 1;
    }
    return false;
  }

 private:
  bool End() {
    arrays_around_.pop_back();
    return true;
  }

  // Where the array starts that was met last. The parser does not tell.
  std::size_t LastArray() const {
    std::size_t left = arrays_;
    std::size_t at = 0;
    for (; left > 0; ++at) {
      if (text_[at] == '[') --left;
      if (text_[at] != '"') continue;
      while (text_[++at] != '"') at += text_[at] == '\\' ? 1U : 0U;
    }
    return at - 1;
  }

  std::string_view text_;
  std::size_t arrays_ = 0;                  // so far
  std::vector<std::size_t> arrays_around_;  // of each open array or object
  std::string error_;
  std::size_t error_at_ = 0;
};

// libyang accepts JSON that ends too early, ignores text after its end, and
// crashes on three nested arrays.
void RefuseBadJson(const std::string& text, const std::string& path) {
  JsonListener listener(text);
  static_cast<void>(
      nlohmann::json::sax_parse(text.begin(), text.end(), &listener));
  if (!listener.error().empty()) {
    throw ErrorAt(path, text, listener.error_at(), listener.error());
  }
}

}  // namespace

Position PositionAt(std::string_view bytes, std::size_t at) {
  const std::string_view before = bytes.substr(0, at);
  const std::size_t newline = before.rfind('\n');
  std::string_view line =
      before.substr(newline == std::string_view::npos ? 0 : newline + 1);
  // A byte order mark has no column.
  if (newline == std::string_view::npos &&
      line.substr(0, 3) == kByteOrderMark) {
    line.remove_prefix(kByteOrderMark.size());
  }
  return {static_cast<unsigned long>(
              std::count(before.begin(), before.end(), '\n')) +
              1,
          static_cast<unsigned long>(base::CountCharacters(line)) + 1};
}

InputError ErrorAt(const std::string& path, std::string_view bytes,
                   std::size_t at, const std::string& reason) {
  const Position position = PositionAt(bytes, at);
  return {path, position.line, position.column, reason};
}

InputText CheckText(const std::string& path, std::string bytes) {
  InputText text{path, std::move(bytes), 0, LYD_UNKNOWN};
  text.start = StartOf(text.bytes, path);
  text.format = FormatOf(text.bytes, text.start, path);
  RefuseNul(text.bytes, path);
  RefuseOtherEncodings(text.bytes, path);
  if (text.format == LYD_JSON) RefuseBadJson(text.bytes, path);
  RemoveWrappers(&text);
  return text;
}

InputText ReadText(const std::string& path, std::size_t max_size) {
  return CheckText(path, ReadInput(path, max_size));
}

}  // namespace ipav::datastore
