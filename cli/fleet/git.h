// What git says about a repository. Each call runs the program git, without a
// shell, and ends it when this process ends.
#ifndef IPAV_CLI_FLEET_GIT_H_
#define IPAV_CLI_FLEET_GIT_H_

#include <cstddef>
#include <map>
#include <set>
#include <string>

namespace ipav::cli::fleet {

// A file of a revision.
struct Blob {
  std::string root;  // of the repository
  std::string id;
  std::size_t size = 0;  // bytes
};

// The functions throw datastore::InputError with git's own text. Names of files
// may have any bytes, and are relative to the root of the repository.
class GitRevision {
 public:
  // `root` is a folder that GitRoot() returned; `name` a branch, tag or
  // commit, and not an option.
  GitRevision(const std::string& root, const std::string& name);

  // The files of the revision, without symbolic links.
  const std::map<std::string, Blob>& files() const { return files_; }

  // Those of them that have other bytes in the work tree, or are not there.
  const std::set<std::string>& changed() const { return changed_; }

 private:
  std::map<std::string, Blob> files_;
  std::set<std::string> changed_;
};

// The bytes of a file.
std::string ReadBlob(const Blob& blob);

// The root of the work tree that has this folder.
std::string GitRoot(const std::string& folder);

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_GIT_H_
