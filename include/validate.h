// The entry points that the host calls, exported under C names.
//
// Nothing here is noexcept: what a reader throws reaches the host.
#ifndef IPAV_VALIDATE_H_
#define IPAV_VALIDATE_H_

#include <confd_lib.h>

#include <cstddef>
#include <cstdint>

// The library hides every symbol but these.
#pragma GCC visibility push(default)

extern "C" {

// Creates the snapshot and stores it in *context, the host's slot; returns 0.
// Throws what the construction throws.
int32_t lib_init(void** context);

// Writes the name of the validation set, cut and terminated at `size` bytes;
// returns 0. The host registers the plug-in under that name.
int32_t get_validation_point(char* buffer, size_t size);

// Validation callback of the set: binds the snapshot to the call and runs the
// callback whose name begins the opaque text of the use site. Returns 0 to
// accept, -1 to refuse. A refusal by a callback sets the error text of the
// transaction; a malformed or unknown call is refused without one.
int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                 confd_value_t* newval);

// Destroys the snapshot in *context, if any; returns 0. Does not reset the
// slot.
int32_t lib_finish(void** context);

}  // extern "C"

#pragma GCC visibility pop

#endif  // IPAV_VALIDATE_H_
