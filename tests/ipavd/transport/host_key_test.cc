#include "ipavd/transport/host_key.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>
#include <string>

#include "tests/support/temp_dir.h"

namespace ipav::transport {
namespace {

using testing::ReadFile;

class HostKeyTest : public testing::FolderTest {
 protected:
  const std::string path_ = folder_ / "host_key";
};

TEST_F(HostKeyTest, IsMadeForItsOwnerAlone) {
  static_cast<void>(HostKey(path_));
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(ReadFile(path_ + ".pub").rfind("ecdsa-sha2-nistp256 AAAA", 0), 0U);
}

TEST_F(HostKeyTest, IsMadeOnlyOnce) {
  const Key made = HostKey(path_);
  const std::string before = ReadFile(path_);
  ASSERT_FALSE(before.empty());
  const Key read = HostKey(path_);
  EXPECT_EQ(ReadFile(path_), before);
  EXPECT_EQ(ssh_key_cmp(made.get(), read.get(), SSH_KEY_CMP_PRIVATE), 0);
}

TEST_F(HostKeyTest, IsRefusedWhenOthersMayReadIt) {
  static_cast<void>(HostKey(path_));
  ASSERT_EQ(chmod(path_.c_str(), 0640), 0);
  EXPECT_THROW(HostKey(path_), std::runtime_error);
}

TEST_F(HostKeyTest, IsRefusedWhenItIsNotAFileWithoutWaitingForIt) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  try {
    HostKey(path_);
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), path_ + ": is not a regular file");
  }
}

TEST_F(HostKeyTest, IsRefusedWhenItIsNotAKey) {
  ASSERT_EQ(chmod(Write("host_key", "none").c_str(), 0600), 0);
  EXPECT_THROW(HostKey(path_), std::runtime_error);
}

}  // namespace
}  // namespace ipav::transport
