// Values of the daemon's interface made from data nodes.
#ifndef IPAV_HOST_CONFD_VALUE_H_
#define IPAV_HOST_CONFD_VALUE_H_

#include <confd_lib.h>
#include <libyang/libyang.h>

#include <cstdarg>
#include <string>

#include "host/base/c_ptr.h"
#include "host/datastore/model.h"

namespace ipav::confd {

// A value and its memory on the C heap.
class OwnedValue {
 public:
  explicit OwnedValue(const confd_value_t& value) : value_(value) {}
  ~OwnedValue() { confd_free_value(&value_); }
  OwnedValue(OwnedValue&& other) noexcept : value_(other.Release()) {}
  OwnedValue(const OwnedValue&) = delete;
  OwnedValue& operator=(const OwnedValue&) = delete;
  OwnedValue& operator=(OwnedValue&&) = delete;

  const confd_value_t& operator*() const { return value_; }
  const confd_value_t* operator->() const { return &value_; }

  // Releases the value to the caller, who calls confd_free_value().
  confd_value_t Release();

 private:
  confd_value_t value_;
};

// Value of a leaf by its YANG type. Throws ConfdError for a type that this host
// does not support.
OwnedValue ValueOf(const lyd_node& leaf);

// A node of the model as a value.
confd_value_t TagValue(const datastore::Model& model, const lysc_node& node);

// A value as text, as confd_pp_value() prints it.
std::string PrintValue(const confd_value_t& value);

// Printf style in full. A text that cannot be formatted is empty.
std::string FormatText(const char* format, va_list args);

// An empty value. Memory of an overwritten value must have been freed or
// released.
confd_value_t NoValue();

void FreeKeypath(confd_hkeypath_t* keypath);
using Keypath = base::CPtr<confd_hkeypath_t, FreeKeypath>;

// Key path of a data node; of a node that has no instance below that parent
// (null: the root). Throws ConfdError if it is too deep.
Keypath KeypathOf(const datastore::Model& model, const lyd_node* node);
Keypath KeypathOf(const datastore::Model& model, const lyd_node* parent,
                  const lysc_node& schema);

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_VALUE_H_
