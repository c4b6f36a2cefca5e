#include "ipavd/transport/authorized_keys.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace ipav::transport {
namespace {

// A public key as a line of the file, less its end.
std::string LineOf(ssh_key key) {
  char* base64 = nullptr;
  ssh_pki_export_pubkey_base64(key, &base64);
  std::string line = ssh_key_type_to_char(ssh_key_type(key));
  line += std::string(" ") + base64;
  ssh_string_free_char(base64);
  return line;
}

Key MakeKey() {
  ssh_key key = nullptr;
  ssh_pki_generate(SSH_KEYTYPE_ED25519, 0, &key);
  return Key(key);
}

class AuthorizedKeysTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string name =
        std::filesystem::temp_directory_path() / "ipav-keys-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Write(const std::string& text) const {
    const std::filesystem::path path = folder_ / "keys";
    std::ofstream(path) << text;
    return path;
  }

  std::string Refusal(const std::string& text) const {
    const std::string path = Write(text);
    try {
      static_cast<void>(AuthorizedKeys::FromFile(path));
    } catch (const std::runtime_error& error) {
      return std::string(error.what()).substr(path.size());
    }
    return "";
  }

  const Key known_ = MakeKey();
  const Key other_ = MakeKey();
  std::filesystem::path folder_;
};

TEST_F(AuthorizedKeysTest, HasTheKeysOfItsLinesAndNoOther) {
  const AuthorizedKeys keys = AuthorizedKeys::FromFile(
      Write("# operators\n\n  " + LineOf(known_.get()) + " an operator\n"));
  EXPECT_EQ(keys.size(), 1U);
  EXPECT_TRUE(keys.Has(known_.get()));
  EXPECT_FALSE(keys.Has(other_.get()));
}

TEST_F(AuthorizedKeysTest, OfAnEmptyFileHasNone) {
  EXPECT_FALSE(AuthorizedKeys::FromFile(Write("")).Has(known_.get()));
}

TEST_F(AuthorizedKeysTest, RefusesALineThatIsNoKeyWithItsNumber) {
  constexpr char kReason[] = ": not TYPE and BASE64 of a public key";
  const std::string line = LineOf(known_.get());
  EXPECT_EQ(Refusal(line + "\nnonsense\n"), std::string(":2") + kReason);
  EXPECT_EQ(Refusal("ssh-ed25519\n"), std::string(":1") + kReason);
  EXPECT_EQ(Refusal("ssh-ed25519 AAAA\n"), std::string(":1") + kReason);
}

TEST_F(AuthorizedKeysTest, RefusesOptionsWhichItWouldNotKeep) {
  EXPECT_EQ(Refusal("from=\"10.0.0.1\" " + LineOf(known_.get()) + "\n"),
            ":1: not TYPE and BASE64 of a public key");
}

TEST_F(AuthorizedKeysTest, NamesAFileThatIsNotThere) {
  EXPECT_THROW(AuthorizedKeys::FromFile(folder_ / "missing"),
               std::runtime_error);
}

TEST_F(AuthorizedKeysTest, AreNoneInTheFileOfNothing) {
  EXPECT_EQ(AuthorizedKeys::FromFile("/dev/null").size(), 0U);
}

TEST_F(AuthorizedKeysTest, AreInNoFolder) {
  EXPECT_THROW(AuthorizedKeys::FromFile(folder_), std::runtime_error);
}

TEST_F(AuthorizedKeysTest, AreNotThoseOfAnybody) {
  const std::filesystem::path path = Write(LineOf(known_.get()) + "\n");
  using std::filesystem::perms;
  std::filesystem::permissions(path, perms::owner_all | perms::others_read);
  EXPECT_EQ(AuthorizedKeys::FromFile(path).size(), 1U);
  std::filesystem::permissions(path, perms::owner_all | perms::others_write);
  EXPECT_THROW(AuthorizedKeys::FromFile(path), std::runtime_error);
}

}  // namespace
}  // namespace ipav::transport
