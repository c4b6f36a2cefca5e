// The text of one configuration, and the checks of it that need no model.
#ifndef IPAV_HOST_DATASTORE_INPUT_TEXT_H_
#define IPAV_HOST_DATASTORE_INPUT_TEXT_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "host/datastore/input_error.h"

namespace ipav::datastore {

struct InputText {
  std::string path;       // for error messages
  std::string bytes;      // of the file, without wrappers around its data
  std::size_t start = 0;  // after a byte order mark and blanks
  LYD_FORMAT format = LYD_UNKNOWN;

  std::string_view data() const {
    return std::string_view{bytes}.substr(start);
  }
};

// A place in a file: its line and, in characters, its column, both from 1.
struct Position {
  unsigned long line = 0;
  unsigned long column = 0;
};

// The position of that byte of a file.
Position PositionAt(std::string_view bytes, std::size_t at);

// An error at that byte of a file.
InputError ErrorAt(const std::string& path, std::string_view bytes,
                   std::size_t at, const std::string& reason);

// The bytes of that file, XML (RFC 7950) or JSON (RFC 7951), distinguished by
// their first character. Throws InputError if the text is invalid in any model.
InputText CheckText(const std::string& path, std::string bytes);

// The same for a file, also for more than `max_size` bytes.
InputText ReadText(const std::string& path, std::size_t max_size);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_INPUT_TEXT_H_
