// Owners of what MAAPI hands out: each gives it back also when an exception
// leaves. Every call is a round trip to the daemon, so they make no more than
// is written here.
#ifndef IPAV_SRC_LIB_INTERNAL_MAAPI_OWNERS_H_
#define IPAV_SRC_LIB_INTERNAL_MAAPI_OWNERS_H_

#include <confd_maapi.h>

#include <string>

namespace ip_application::config_valid::internal {

// A path that holds no conversion and may be a format: never one with a key.
struct PathFormat {
  const char* text;
};

// The entries of a list, once: `for (const maapi_cursor& row : cursor)`. The
// keys of a row are replaced by the next one. A list that cannot be walked has
// no entries.
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

  // Single pass, as the cursor is.
  class Iterator {
   public:
    explicit Iterator(maapi_cursor* cursor) : cursor_(cursor) {}
    const maapi_cursor& operator*() const { return *cursor_; }
    Iterator& operator++() {
      Advance(cursor_);
      return *this;
    }
    // The only comparison that a loop makes is with the end.
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
  // The result is not needed: the number of keys is 0 at the end.
  static void Advance(maapi_cursor* cursor) {
    static_cast<void>(maapi_get_next(cursor));
  }

  maapi_cursor cursor_{};
};

// A value to read into with maapi_get_elem(), freed when it goes.
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
