#include "cli/fleet/devices.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "host/datastore/input_error.h"

namespace ipav::cli::fleet {

namespace {

namespace fs = std::filesystem;
using datastore::InputError;

constexpr std::array<const char*, 2> kEndings = {".xml", ".json"};

bool Exists(const fs::path& path) {
  std::error_code error;
  // A link to nowhere exists: reading it gives the error.
  return fs::exists(fs::symlink_status(path, error));
}

bool IsFolder(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

// Walks folders, and collects their devices.
class Collector {
 public:
  explicit Collector(std::string running) : running_(std::move(running)) {}

  void Add(const std::string& name) {
    root_ = name;
    if (!IsFolder(name)) {
      AddDevice(name, root_.stem());
      return;
    }
    const std::size_t before = devices_.size();
    visited_.clear();
    AddFolder(name);
    if (devices_.size() == before) {
      throw InputError(name, "holds no configuration");
    }
  }

  std::vector<Device> Take() { return std::move(devices_); }

 private:
  void AddDevice(const std::string& candidate, const fs::path& name) {
    devices_.push_back({devices_.size() + 1, candidate, name, running_, ""});
  }

  void AddProblem(const fs::path& path, const std::string& reason) {
    AddDevice(path, BelowRoot(path));
    devices_.back().problem = path.string() + ": " + reason;
  }

  fs::path BelowRoot(const fs::path& path) const {
    std::error_code error;
    if (path == root_) return fs::canonical(path, error).filename();
    return path.lexically_relative(root_);
  }

  // NAME.xml or NAME.json in a folder; empty without one. Having both is a
  // problem: it is not known which one is meant.
  std::string Configuration(const fs::path& folder, const std::string& name,
                            std::string* problem) {
    std::string found;
    for (const char* ending : kEndings) {
      const fs::path file = folder / (name + ending);
      if (!Exists(file) || IsFolder(file)) continue;
      if (!found.empty()) {
        *problem = fmt::format("{}: holds {}.xml and {}.json", folder.string(),
                               name, name);
      }
      found = file;
    }
    return found;
  }

  // Whether the folder is a device.
  bool AddAsDevice(const fs::path& folder) {
    std::string problem;
    const std::string candidate = Configuration(folder, "candidate", &problem);
    if (candidate.empty()) return false;
    const std::string own = Configuration(folder, "running", &problem);
    AddDevice(candidate, BelowRoot(folder));
    if (!own.empty()) devices_.back().running = own;
    devices_.back().problem = problem;
    return true;
  }

  void AddEntry(const fs::path& entry) {
    if (entry.filename().string().front() == '.') return;
    if (IsFolder(entry)) {
      AddFolder(entry);
    } else if (std::find(kEndings.begin(), kEndings.end(), entry.extension()) !=
               kEndings.end()) {
      AddDevice(entry, BelowRoot(entry).replace_extension());
    }
  }

  void AddFolder(const fs::path& folder) {
    std::error_code error;
    // A link may lead back to a folder that contains it.
    if (!visited_.insert(fs::canonical(folder, error)).second) return;
    if (AddAsDevice(folder)) return;
    std::vector<fs::path> entries;
    for (fs::directory_iterator entry(folder, error), end;
         !error && entry != end; entry.increment(error)) {
      entries.push_back(entry->path());
    }
    if (error) {
      AddProblem(folder, error.message());
      return;
    }
    std::sort(entries.begin(), entries.end());
    for (const fs::path& entry : entries) AddEntry(entry);
  }

  std::string running_;
  fs::path root_;  // the argument that is walked
  std::vector<Device> devices_;
  std::set<fs::path> visited_;
};

}  // namespace

std::vector<Device> FindDevices(const std::vector<std::string>& names,
                                const std::string& running) {
  Collector collector(running);
  for (const std::string& name : names) collector.Add(name);
  return collector.Take();
}

std::vector<std::string> FilesOf(const std::vector<Device>& devices) {
  std::vector<std::string> files;
  for (const Device& device : devices) {
    files.push_back(device.candidate);
    files.push_back(device.running);
  }
  return files;
}

std::vector<Device> PartOf(const std::vector<Device>& devices,
                           const report::Shard& shard) {
  std::vector<Device> part;
  for (std::size_t i = shard.number - 1; i < devices.size(); i += shard.of) {
    part.push_back(devices[i]);
  }
  return part;
}

}  // namespace ipav::cli::fleet
