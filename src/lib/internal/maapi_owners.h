// RAII owners of MAAPI resources. A MAAPI call is a round trip to the daemon,
// so they make only the calls that are written here.
#ifndef IPAV_SRC_LIB_INTERNAL_MAAPI_OWNERS_H_
#define IPAV_SRC_LIB_INTERNAL_MAAPI_OWNERS_H_

#include <confd_maapi.h>

#include <string>

namespace ip_application::config_valid::internal {

// A path without conversions, which is used as a printf format. Never a path
// with a key: a key may contain a "%".
struct PathFormat {
  const char* text;
};

// Iterates over the entries of a list, once: `for (const maapi_cursor& row :
// cursor)`. The keys of a row are valid until the next one. A list that cannot
// be read has no entries.
class MaapiCursor {
 public:
  // Opens with the path as the argument of "%s".
  MaapiCursor(int sock, int thandle, const std::string& path) {
    static_cast<void>(
        maapi_init_cursor(sock, thandle, &cursor_, "%s", path.c_str()));
  }
  // Opens with the path as the format itself.
  MaapiCursor(int sock, int thandle, PathFormat path) {
    static_cast<void>(maapi_init_cursor(sock, thandle, &cursor_, path.text));
  }
  ~MaapiCursor() { maapi_destroy_cursor(&cursor_); }
  MaapiCursor(const MaapiCursor&) = delete;
  MaapiCursor& operator=(const MaapiCursor&) = delete;

  // A single-pass iterator.
  class Iterator {
   public:
    explicit Iterator(maapi_cursor* cursor) : cursor_(cursor) {}
    const maapi_cursor& operator*() const { return *cursor_; }
    Iterator& operator++() {
      Advance(cursor_);
      return *this;
    }
    // Only for a comparison with end().
    bool operator!=(const Iterator& /*end*/) const { return cursor_->n != 0; }

   private:
    maapi_cursor* cursor_;
  };

  Iterator begin() {
    Advance(&cursor_);
    return Iterator(&cursor_);
  }
  Iterator end() { return Iterator(&cursor_); }

 private:
  // The result is ignored: the number of keys is 0 at the end.
  static void Advance(maapi_cursor* cursor) {
    static_cast<void>(maapi_get_next(cursor));
  }

  maapi_cursor cursor_{};
};

// An output argument for maapi_get_elem(), freed by the destructor.
class ElemValue {
 public:
  ElemValue() { value_.type = C_NOEXISTS; }
  ~ElemValue() { confd_free_value(&value_); }
  ElemValue(const ElemValue&) = delete;
  ElemValue& operator=(const ElemValue&) = delete;

  confd_value_t* get() { return &value_; }
  const confd_value_t& operator*() const { return value_; }

 private:
  confd_value_t value_{};
};

// Text of a C_BUF up to its first NUL.
std::string TextOf(const confd_value_t& value);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_MAAPI_OWNERS_H_
