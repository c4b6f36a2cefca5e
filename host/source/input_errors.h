// Finds all errors of a configuration that the data model refuses, each with
// its place. Slow, and only for refused texts: the YANG library stops at the
// first error and often does not know where it is.
#ifndef IPAV_HOST_SOURCE_INPUT_ERRORS_H_
#define IPAV_HOST_SOURCE_INPUT_ERRORS_H_

#include "host/datastore/input_error.h"
#include "host/datastore/input_text.h"
#include "host/datastore/model.h"

namespace ipav::source {

// The errors in file order. `text` must be one that the model refuses.
datastore::InputError FindInputErrors(const datastore::Model& model,
                                      const datastore::InputText& text);

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_INPUT_ERRORS_H_
