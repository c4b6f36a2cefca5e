// A file that is only in memory, for functions that read files by path.
#ifndef IPAV_FUZZ_SUPPORT_MEMORY_FILE_H_
#define IPAV_FUZZ_SUPPORT_MEMORY_FILE_H_

#include <string>

namespace ipav::fuzz {

class MemoryFile {
 public:
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  // Valid as long as the object lives.
  const std::string& path() const { return path_; }

  void Write(const std::string& text) const;

 private:
  int descriptor_;
  std::string path_;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_MEMORY_FILE_H_
