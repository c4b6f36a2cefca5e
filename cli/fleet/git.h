// What git says about a repository. Each call runs the program git, without a
// shell, and ends it when this process ends.
#ifndef IPAV_CLI_FLEET_GIT_H_
#define IPAV_CLI_FLEET_GIT_H_

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/base/file_descriptor.h"

namespace ipav::cli::fleet {

// A file of a revision.
struct Blob {
  std::string root;  // of the repository
  std::string id;
  std::size_t size = 0;  // bytes
  // Where FetchBlobs() put its bytes.
  std::shared_ptr<const base::FileDescriptor> file = nullptr;
  std::size_t at = 0;
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

  // Those of them that have other bytes in the work tree, or are not there; and
  // those of which git is told not to look.
  const std::set<std::string>& changed() const { return changed_; }

 private:
  std::map<std::string, Blob> files_;
  std::set<std::string> changed_;
};

// Gets the bytes of files of one repository, with one call of git.
void FetchBlobs(const std::string& root, const std::vector<Blob*>& blobs);

// The bytes of a file. Any process that inherits the file may read them.
std::string ReadBlob(const Blob& blob);

// The root of the work tree that has this folder.
std::string GitRoot(const std::string& folder);

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_GIT_H_
