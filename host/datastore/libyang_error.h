// Converts libyang's error record to an InputError.
#ifndef IPAV_HOST_DATASTORE_LIBYANG_ERROR_H_
#define IPAV_HOST_DATASTORE_LIBYANG_ERROR_H_

#include <libyang/libyang.h>

#include <string>

#include "host/datastore/input_error.h"

namespace ipav::datastore {

// The first error that libyang recorded since the last ClearErrors(); later
// ones are its consequences. The text that libyang parsed begins
// `skipped_lines` lines after the start of the file.
InputError FirstError(const ly_ctx* context, const std::string& file,
                      unsigned long skipped_lines = 0);

// Its text, on one line.
std::string FirstReason(const ly_ctx* context);

void ClearErrors(const ly_ctx* context);

// The part of a text of libyang between two marks; empty if one is missing.
std::string Between(const std::string& text, const std::string& before,
                    const std::string& after);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_LIBYANG_ERROR_H_
