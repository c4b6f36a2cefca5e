#include "datastore/libyang_error.h"

#include <regex>

namespace ipav::datastore {

namespace {

// libyang tells place and line in one sentence, `Data location "/a:b", line
// number 4.` or `Line number 1.`; either may be missing.
struct Place {
  std::string path;
  unsigned long line = 0;  // 0: not known
};

Place PlaceOf(const ly_err_item& error) {
  static const std::regex kLocation("location \"(.*?)\"[,.]");
  static const std::regex kLine("[Ll]ine number ([0-9]{1,9})\\.$");
  Place place;
  if (error.path == nullptr) return place;

  const std::string text = error.path;
  std::smatch match;
  if (std::regex_search(text, match, kLocation)) place.path = match[1];
  if (std::regex_search(text, match, kLine)) place.line = std::stoul(match[1]);
  return place;
}

}  // namespace

InputError FirstError(const ly_ctx* context, const std::string& file) {
  const ly_err_item* error = ly_err_first(context);
  if (error == nullptr) return {file, "unknown error of the YANG library"};

  // The line is worth more than the path, which libyang 2.1 gets wrong for
  // duplicate entries.
  const Place place = PlaceOf(*error);
  if (place.line != 0) return {file, place.line, error->msg};
  if (place.path.empty()) return {file, error->msg};
  return {file, std::string(error->msg) + " (" + place.path + ")"};
}

void ClearErrors(const ly_ctx* context) {
  ly_err_clean(const_cast<ly_ctx*>(context), nullptr);
}

}  // namespace ipav::datastore
