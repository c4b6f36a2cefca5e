#include "ipavd/transport/host_key.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace ipav::transport {
namespace {

std::string Read(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class HostKeyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string name =
        std::filesystem::temp_directory_path() / "ipav-key-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    path_ = folder_ / "host_key";
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path folder_;
  std::string path_;
};

TEST_F(HostKeyTest, IsMadeForItsOwnerAlone) {
  EnsureHostKey(path_);
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(Read(path_ + ".pub").rfind("ecdsa-sha2-nistp256 AAAA", 0), 0U);
}

TEST_F(HostKeyTest, StaysOnceItIsThere) {
  EnsureHostKey(path_);
  const std::string before = Read(path_);
  ASSERT_FALSE(before.empty());
  EnsureHostKey(path_);
  EXPECT_EQ(Read(path_), before);
}

TEST_F(HostKeyTest, ThatOthersMayReadIsRefused) {
  EnsureHostKey(path_);
  ASSERT_EQ(chmod(path_.c_str(), 0640), 0);
  EXPECT_THROW(EnsureHostKey(path_), std::runtime_error);
}

TEST_F(HostKeyTest, ThatIsNoneIsRefused) {
  std::ofstream(path_) << "none";
  ASSERT_EQ(chmod(path_.c_str(), 0600), 0);
  EXPECT_THROW(EnsureHostKey(path_), std::runtime_error);
}

}  // namespace
}  // namespace ipav::transport
