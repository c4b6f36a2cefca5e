// A folder in memory, where the system has such a file system, that goes with
// the object.
#ifndef IPAV_FUZZ_IPAVD_TEMPORARY_FOLDER_H_
#define IPAV_FUZZ_IPAVD_TEMPORARY_FOLDER_H_

#include <string>

namespace ipav::fuzz {

class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_TEMPORARY_FOLDER_H_
