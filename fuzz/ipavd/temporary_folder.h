// A folder that is removed with the object; in memory if the system has such a
// file system.
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
