#include "ipavd/transport/authorized_keys.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
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
  static AuthorizedKeys FromFile(const std::string& path) {
    return AuthorizedKeys(OpenAuthorizedKeys(path), path);
  }

  AuthorizedKeys Read(const std::string& text) const {
    return FromFile(Write("keys", text));
  }

  static std::string Refusal(const std::string& path) {
    try {
      static_cast<void>(FromFile(path));
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
  EXPECT_EQ(FromFile("/dev/null").size(), 0U);
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
        std::string("\0", 1) + line, "from=\"10.0.0.1\" " + line,
        "ed25519 " + base64}) {
    EXPECT_EQ(Refusal(Write("keys", line + "\n" + bad + "\n")),
              ":2: not TYPE and BASE64 of a public key")
        << bad;
  }
}

TEST_F(AuthorizedKeysTest, RefusesALineThatLetsNobodyIn) {
  const std::string line = LineOf(known_.get());
  const std::string base64 = line.substr(line.find(' ') + 1);
  // Two files without a newline at their end were joined.
  for (const std::string& comment :
       {" op " + line, " op@host" + line, " " + base64}) {
    EXPECT_EQ(Refusal(Write("keys", line + comment)),
              ":1: two keys on one line");
  }
  EXPECT_EQ(
      Refusal(Write("keys", "ssh-ed25519-cert-v01@openssh.com " + base64)),
      ":1: a certificate; it lets nobody in, but its public key would");
}

TEST_F(AuthorizedKeysTest, RefusesWhatIsNotAFileWithoutWaitingForIt) {
  EXPECT_EQ(Refusal(folder_ / "missing"), ": No such file or directory");
  const std::string pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  const std::string link = folder_ / "link";
  std::filesystem::create_symlink(pipe, link);
  for (const std::string& path :
       {folder_.string(), pipe, link, std::string("/dev/zero")}) {
    EXPECT_EQ(Refusal(path), ": is not a regular file") << path;
  }
}

TEST_F(AuthorizedKeysTest, RefusesAFileThatOthersMayChange) {
  namespace fs = std::filesystem;
  const fs::path top = folder_ / "top";
  const fs::path folder = top / "folder";
  fs::create_directories(folder);
  const fs::path file = folder / "keys";
  std::ofstream(file) << LineOf(known_.get()) << "\n";
  const auto refusal = [&](const fs::path& path, unsigned mode) {
    fs::permissions(path, static_cast<fs::perms>(mode));
    const std::string text = Refusal(file);
    fs::permissions(path, fs::perms::owner_all);
    return text;
  };
  const std::string by_others = "may be written by others; chmod go-w it";
  EXPECT_EQ(refusal(file, 0744), "");
  EXPECT_EQ(refusal(file, 0720), ": " + by_others);
  EXPECT_EQ(refusal(file, 0702), ": " + by_others);
  const std::string its_folder = ": its folder " + folder.string() + " ";
  EXPECT_EQ(refusal(folder, 0770), its_folder + by_others);
  EXPECT_EQ(refusal(folder, 01777), its_folder + by_others);
  EXPECT_EQ(refusal(top, 0707),
            ": its folder " + top.string() + " " + by_others);
  // Nobody else can rename the folder in it.
  EXPECT_EQ(refusal(top, 01777), "");

  if (geteuid() != 0) return;  // only root can give a file away
  ASSERT_EQ(chown(file.c_str(), 1, 1), 0);
  EXPECT_EQ(Refusal(file), ": belongs to another user; chown it");
  ASSERT_EQ(chown(file.c_str(), 0, 0), 0);
  ASSERT_EQ(chown(top.c_str(), 1, 1), 0);
  EXPECT_EQ(Refusal(file), ": its folder " + top.string() +
                               " belongs to another user; chown it");
}

}  // namespace
}  // namespace ipav::transport
