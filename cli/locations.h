// The files that ipav needs.
#ifndef IPAV_CLI_LOCATIONS_H_
#define IPAV_CLI_LOCATIONS_H_

#include <string>

#include "host/base/installation.h"

namespace ipav::cli {

struct Locations {
  std::string plugin;          // libip_app_validation.so
  std::string yang_dir;        // the data model
  std::string yang_extension;  // plug-in of the YANG library
  std::string starter;         // a first configuration
  std::string messages;        // docs/messages.md
};

inline Locations FindLocations() {
  const base::Installation found = base::FindInstallation();
  const std::string data = found.share + "/ipav";
  return {found.plugin, data + "/yang", found.yang_extension,
          data + "/starter.xml", data + "/messages.md"};
}

}  // namespace ipav::cli

#endif  // IPAV_CLI_LOCATIONS_H_
