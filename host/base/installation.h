// Where the parts of the product are installed. They are found from the
// program's own file, so that a build tree and an installation work alike.
#ifndef IPAV_HOST_BASE_INSTALLATION_H_
#define IPAV_HOST_BASE_INSTALLATION_H_

#include <string>

namespace ipav::base {

struct Installation {
  std::string plugin;          // libip_app_validation.so
  std::string yang_extension;  // plug-in of the YANG library
  std::string share;           // folder of data
};

// The installation of the running program. Throws
// std::filesystem::filesystem_error.
Installation FindInstallation();

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_INSTALLATION_H_
