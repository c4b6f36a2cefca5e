// A temporary folder for a test, and functions for its files.
#ifndef IPAV_TESTS_SUPPORT_TEMP_DIR_H_
#define IPAV_TESTS_SUPPORT_TEMP_DIR_H_

#include <gtest/gtest.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): POSIX

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace ipav::testing {

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();  // a file of /proc fails if its process has ended
  return text.str();
}

// A folder that lives as long as the object.
class TempDir {
 public:
  TempDir() {
    std::string name = std::filesystem::temp_directory_path() / "ipav.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = name;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }

  // Returns the path of the file.
  std::string Write(const std::string& name, const std::string& text) const {
    std::string file = path_ + "/" + name;
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }

 private:
  std::string path_;
};

// A test with such a folder.
class FolderTest : public ::testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& text) const {
    return dir_.Write(name, text);
  }

 private:
  TempDir dir_;

 protected:
  const std::filesystem::path folder_ = dir_.path();
};

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_TEMP_DIR_H_
