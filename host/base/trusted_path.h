// Whether a file or folder is under the control of its user alone.
#ifndef IPAV_HOST_BASE_TRUSTED_PATH_H_
#define IPAV_HOST_BASE_TRUSTED_PATH_H_

#include <string>

namespace ipav::base {

// Why another user than root and the one of this process could change the file
// or folder, or put another one in its place: its owner and mode, and those of
// all folders above it. In a folder with the sticky bit, such as /tmp, others
// cannot replace a folder, but a file must not be directly in one. Empty if
// nobody else can; otherwise what is wrong, and what to do. Symbolic links are
// followed.
std::string WhyOthersMayChange(const std::string& path);

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_TRUSTED_PATH_H_
