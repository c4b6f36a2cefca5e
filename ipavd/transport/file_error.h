#ifndef IPAV_IPAVD_TRANSPORT_FILE_ERROR_H_
#define IPAV_IPAVD_TRANSPORT_FILE_ERROR_H_

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace ipav::transport {

// The error of the last system call, which was about that file.
inline std::runtime_error FileError(const std::string& path) {
  return std::runtime_error(path + ": " +
                            std::generic_category().message(errno));
}

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_FILE_ERROR_H_
