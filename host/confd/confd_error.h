// The exception for a failed call of the daemon's C interface; Guarded() turns
// it into CONFD_ERR.
#ifndef IPAV_HOST_CONFD_CONFD_ERROR_H_
#define IPAV_HOST_CONFD_CONFD_ERROR_H_

#include <confd_lib.h>

#include <new>
#include <stdexcept>
#include <string>

namespace ipav::confd {

class ConfdError : public std::runtime_error {
 public:
  ConfdError(int code, const std::string& reason)
      : std::runtime_error(reason), code_(code) {}

  int code() const { return code_; }  // CONFD_ERR_...

 private:
  int code_;
};

// Records why a call failed for confd_errno and confd_lasterr().
void SetLastError(int code, const char* reason);

// Runs the body of a call; an exception becomes CONFD_ERR. No exception may
// leave a C interface.
template <typename Body>
int Guarded(const Body& body) {
  try {
    return body();
  } catch (const ConfdError& error) {
    SetLastError(error.code(), error.what());
  } catch (const std::bad_alloc&) {
    SetLastError(CONFD_ERR_MALLOC, "out of memory");
  }
  return CONFD_ERR;
}

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_CONFD_ERROR_H_
