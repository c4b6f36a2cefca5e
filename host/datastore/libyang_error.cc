#include "host/datastore/libyang_error.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace ipav::datastore {

namespace {

// libyang reports path and line in one sentence, `Data location "/a:b", line
// number 4.` or `Line number 1.`; either may be missing.
struct Place {
  std::string path;
  unsigned long line = 0;  // 0: not known
};

// The text on one line: messages quote the input.
std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; },
      ' ');
  return text;
}

Place PlaceOf(const ly_err_item& error) {
  Place place;
  if (error.path == nullptr) return place;
  const std::string text = error.path;
  place.path = Between(text, "location \"", "\"");
  place.line =
      std::strtoul(Between(text, "ine number ", ".").c_str(), nullptr, 10);
  return place;
}

}  // namespace

InputError FirstError(const ly_ctx* context, const std::string& file,
                      unsigned long skipped_lines) {
  const std::string reason = FirstReason(context);
  const ly_err_item* error = ly_err_first(context);
  if (error == nullptr) return {file, reason};

  // The line is more useful than the path, which is wrong in libyang 2.1 for
  // duplicate entries.
  const Place place = PlaceOf(*error);
  if (place.line != 0) return {file, place.line + skipped_lines, reason};
  if (place.path.empty()) return {file, reason};
  return {file, reason + " (" + OneLine(place.path) + ")"};
}

std::string FirstReason(const ly_ctx* context) {
  const ly_err_item* error = ly_err_first(context);
  return error == nullptr ? "unknown error of the YANG library"
                          : OneLine(error->msg);
}

void ClearErrors(const ly_ctx* context) {
  ly_err_clean(const_cast<ly_ctx*>(context), nullptr);
}

std::string Between(const std::string& text, const std::string& before,
                    const std::string& after) {
  const std::size_t mark = text.find(before);
  if (mark == std::string::npos) return "";
  const std::size_t begin = mark + before.size();
  const std::size_t end = text.find(after, begin);
  return end == std::string::npos ? "" : text.substr(begin, end - begin);
}

}  // namespace ipav::datastore
