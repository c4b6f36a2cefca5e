#include "cli/fleet/base.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>
#include <utility>

#include "cli/fleet/git.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_file.h"

namespace ipav::cli::fleet {

namespace {

namespace fs = std::filesystem;
using datastore::InputError;

bool IsThere(const fs::path& path) {
  std::error_code error;
  return fs::exists(fs::symlink_status(path, error));
}

// The same name for the other format; empty for a file of another kind.
fs::path OtherFormat(fs::path path) {
  if (path.extension() == ".xml") return path.replace_extension(".json");
  if (path.extension() == ".json") return path.replace_extension(".xml");
  return {};
}

bool IsHidden(const fs::path& path) {
  return std::any_of(path.begin(), path.end(), [](const fs::path& part) {
    return part.string().front() == '.';
  });
}

// A repository at the revision, and a file or folder in it.
struct Place {
  fs::path root;
  const GitRevision* revision;
  fs::path path;  // below the root; empty for the root itself
};

bool IsBelow(const std::string& path, const std::string& folder) {
  return folder.empty() || path == folder ||
         path.compare(0, folder.size() + 1, folder + "/") == 0;
}

class Base {
 public:
  Base(std::string revision, std::size_t max_size)
      : revision_(std::move(revision)), max_size_(max_size) {}

  void Add(const std::string& name) {
    if (name == datastore::kStandardInput) {
      throw InputError(name, "is not a file of a git repository");
    }
    const bool has_deleted = AddDeleted(name);
    std::vector<Device> devices;
    try {
      devices = FindDevices({name}, "");
    } catch (const InputError&) {
      if (!has_deleted) throw;
    }
    for (std::string& file : FilesOf(devices)) {
      found_.files.push_back(std::move(file));
    }
    for (Device& device : devices) {
      // Such as the folder that was named.
      if (has_deleted && !IsThere(device.candidate)) continue;
      if (device.problem.empty() && !IsChanged(device)) continue;
      SetRunning(&device);
      device.number = found_.devices.size() + 1;
      found_.devices.push_back(std::move(device));
    }
  }

  SinceBase Take() {
    std::map<std::string, std::vector<Blob*>> blobs;  // of repositories
    for (Device& device : found_.devices) {
      if (!device.blob || !device.problem.empty()) continue;
      blobs[device.blob->root].push_back(&*device.blob);
    }
    for (const auto& [root, some] : blobs) FetchBlobs(root, some);
    return std::move(found_);
  }

 private:
  // Asks git only where a repository may begin.
  const fs::path& RootOf(const fs::path& folder) {
    const auto known = roots_.find(folder);
    if (known != roots_.end()) return known->second;
    const bool may_begin =
        IsThere(folder / ".git") || !folder.has_relative_path();
    fs::path root =
        may_begin ? fs::path(GitRoot(folder)) : RootOf(folder.parent_path());
    return roots_.emplace(folder, std::move(root)).first->second;
  }

  Place PlaceOf(const fs::path& name) {
    std::error_code error;
    const bool is_folder = fs::is_directory(name, error);
    const fs::path folder = fs::weakly_canonical(
        is_folder ? name : fs::absolute(name).parent_path());
    const fs::path& root = RootOf(folder);
    const fs::path path = (is_folder ? folder : folder / name.filename())
                              .lexically_relative(root);
    if (path.empty() || *path.begin() == "..") {
      throw InputError(name, "is not in the work tree " + root.string());
    }
    const auto [entry, is_new] = revisions_.try_emplace(root, root, revision_);
    return {root, &entry->second, path == "." ? fs::path() : path};
  }

  bool IsChanged(const Device& device) {
    const Place place = PlaceOf(device.candidate);
    return place.revision->files().count(place.path) == 0 ||
           place.revision->changed().count(place.path) > 0 ||
           datastore::IsText(device.candidate);
  }

  // Adds what was named and is in the revision only. False if there is nothing.
  bool AddDeleted(const fs::path& name) {
    const Place place = PlaceOf(name);
    bool has_deleted = false;
    for (const std::string& file : place.revision->changed()) {
      const fs::path path = file;
      if (!IsBelow(path, place.path) || !WasDevice(place, path)) continue;
      const fs::path rest = path.lexically_relative(place.path);
      found_.deleted.insert(path == place.path ? name : name / rest);
      has_deleted = true;
    }
    return has_deleted;
  }

  // Whether the file was the candidate of a device that is there no more.
  static bool WasDevice(const Place& place, const fs::path& path) {
    const auto& files = place.revision->files();
    const fs::path other = OtherFormat(path);
    if (files.count(path) == 0 || other.empty() || IsHidden(path) ||
        IsThere(place.root / path) || IsThere(place.root / other)) {
      return false;
    }
    const fs::path candidate = path.parent_path() / "candidate";
    const bool is_folder = files.count(candidate.string() + ".xml") > 0 ||
                           files.count(candidate.string() + ".json") > 0;
    return !is_folder || path.stem() == "candidate";
  }

  void SetRunning(Device* device) {
    device->running.clear();
    const fs::path candidate = device->candidate;
    std::vector<fs::path> names = {candidate};
    if (candidate.stem() == "candidate" &&
        fs::path(device->name).filename() != "candidate") {
      // The file of the revision counts, also if the work tree has none.
      const fs::path folder = candidate.parent_path();
      names = {folder / "running.xml", folder / "running.json", candidate};
    }
    for (const fs::path& name : names) {
      if (device->running.empty()) UseBlob(name, device);
    }
  }

  // Takes the file at the revision, in the other format if it was converted.
  void UseBlob(const fs::path& name, Device* device) {
    const Place place = PlaceOf(name);
    const auto& files = place.revision->files();
    auto file = files.find(place.path);
    const fs::path other = OtherFormat(place.path);
    if (file == files.end() && !IsThere(place.root / other)) {
      file = files.find(other);
    }
    if (file == files.end()) return;
    device->running = revision_ + ":" + file->first;
    device->blob = file->second;
    if (file->second.size > max_size_ && device->problem.empty()) {
      device->problem = datastore::TooLarge(device->running, max_size_).what();
    }
  }

  const std::string revision_;
  const std::size_t max_size_;
  std::map<fs::path, fs::path> roots_;         // of folders
  std::map<fs::path, GitRevision> revisions_;  // of roots
  SinceBase found_;
};

}  // namespace

SinceBase FindSince(const std::string& revision,
                    const std::vector<std::string>& names,
                    std::size_t max_size) {
  Base base(revision, max_size);
  for (const std::string& name : names) base.Add(name);
  return base.Take();
}

}  // namespace ipav::cli::fleet
