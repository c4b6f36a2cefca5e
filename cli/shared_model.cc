#include "cli/shared_model.h"

#include <map>
#include <string>
#include <utility>

namespace ipav::cli {

const datastore::Model& SharedModel(const Locations& locations) {
  using Folder = std::pair<std::string, std::string>;
  // Leaked on purpose: the process exits next.
  static auto& models = *new std::map<Folder, datastore::Model>;
  const Folder folder(locations.yang_dir, locations.yang_extension);
  return models.try_emplace(folder, folder.first, folder.second).first->second;
}

}  // namespace ipav::cli
