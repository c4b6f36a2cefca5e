// Where the files are that ipav needs.
#ifndef IPAV_CLI_LOCATIONS_H_
#define IPAV_CLI_LOCATIONS_H_

#include <string>

namespace ipav::cli {

struct Locations {
  std::string plugin;          // libip_app_validation.so
  std::string yang_dir;        // the data model
  std::string yang_extension;  // plug-in of the YANG library
  std::string starter;         // a first configuration
};

Locations FindLocations();

}  // namespace ipav::cli

#endif  // IPAV_CLI_LOCATIONS_H_
