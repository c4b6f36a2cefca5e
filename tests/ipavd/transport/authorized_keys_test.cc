#include "ipavd/transport/authorized_keys.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/support/temp_dir.h"

namespace ipav::transport {
namespace {

// A public key as a line of the file, without the newline.
std::string LineOf(ssh_key key) {
  char* base64 = nullptr;
  ssh_pki_export_pubkey_base64(key, &base64);
  std::string line = ssh_key_type_to_char(ssh_key_type(key));
  line += std::string(" ") + base64;
  ssh_string_free_char(base64);
  return line;
}

Key MakeKey(ssh_keytypes_e type = SSH_KEYTYPE_ED25519) {
  ssh_key key = nullptr;
  ssh_pki_generate(type, 0, &key);
  return Key(key);
}

class AuthorizedKeysTest : public testing::FolderTest {
 protected:
  AuthorizedKeys Read(const std::string& text) const {
    return AuthorizedKeys::FromFile(Write("keys", text));
  }

  std::string Refusal(const std::string& path) const {
    try {
      static_cast<void>(AuthorizedKeys::FromFile(path));
    } catch (const std::runtime_error& error) {
      return std::string(error.what()).substr(path.size());
    }
    return "";
  }

  const Key known_ = MakeKey();
  const Key other_ = MakeKey();
};

TEST_F(AuthorizedKeysTest, HasTheKeysOfItsLinesAndNoOther) {
  const Key ecdsa = MakeKey(SSH_KEYTYPE_ECDSA_P256);
  const AuthorizedKeys keys =
      Read("# operators\n\n \t\r\n  " + LineOf(known_.get()) +
           " an operator\r\n" + LineOf(ecdsa.get()));
  EXPECT_EQ(keys.size(), 2U);
  EXPECT_TRUE(keys.Has(known_.get()));
  EXPECT_TRUE(keys.Has(ecdsa.get()));
  EXPECT_FALSE(keys.Has(other_.get()));
}

TEST_F(AuthorizedKeysTest, AnEmptyFileHasNone) {
  EXPECT_FALSE(Read("").Has(known_.get()));
  EXPECT_EQ(AuthorizedKeys::FromFile("/dev/null").size(), 0U);
}

TEST_F(AuthorizedKeysTest, RefusesALineWithoutAKeyByItsNumber) {
  const std::string line = LineOf(known_.get());
  const std::string base64 = line.substr(line.find(' ') + 1);
  // The options are refused because nobody would enforce them.
  for (const std::string& bad :
       {std::string("nonsense"), std::string("ssh-ed25519"),
        std::string("ssh-ed25519 AAAA"), std::string("ssh-ed25519 ===="),
        std::string("ecdsa-sha2-nistp256 /////w=="), "ssh-rsa " + base64,
        "ssh-ed448 " + base64, line.substr(0, line.size() - 8),
        std::string("\0", 1) + line, "from=\"10.0.0.1\" " + line}) {
    EXPECT_EQ(Refusal(Write("keys", line + "\n" + bad + "\n")),
              ":2: not TYPE and BASE64 of a public key")
        << bad;
  }
}

TEST_F(AuthorizedKeysTest, RefusesWhatIsNotAFile) {
  EXPECT_EQ(Refusal(folder_ / "missing"), ": No such file or directory");
  EXPECT_EQ(Refusal(folder_), ": is a folder");
}

TEST_F(AuthorizedKeysTest, RefusesAFileThatAnybodyMayWrite) {
  const std::string path = Write("keys", LineOf(known_.get()) + "\n");
  using std::filesystem::perms;
  std::filesystem::permissions(path, perms::owner_all | perms::others_read);
  EXPECT_EQ(AuthorizedKeys::FromFile(path).size(), 1U);
  std::filesystem::permissions(path, perms::owner_all | perms::others_write);
  EXPECT_EQ(Refusal(path), ": anybody may write it; chmod o-w it");
}

}  // namespace
}  // namespace ipav::transport
