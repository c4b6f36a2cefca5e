#include "ipavd/transport/authorized_keys.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>

#include "host/base/trusted_path.h"

namespace ipav::transport {

namespace {

// Throws std::runtime_error for a line that lets nobody in.
Key ParseLine(const std::string& line) {
  // 1. One key, whose type is the one that the line names.
  std::istringstream words(line);
  std::string type;
  std::string base64;
  words >> type >> base64;
  if (type.find("-cert-v0") != std::string::npos) {
    throw std::runtime_error(
        "a certificate; it lets nobody in, but its public key would");
  }
  ssh_key imported = nullptr;
  ssh_pki_import_pubkey_base64(base64.c_str(),
                               ssh_key_type_from_name(type.c_str()), &imported);
  Key key(imported);
  if (key == nullptr || type != ssh_key_type_to_char(ssh_key_type(imported))) {
    throw std::runtime_error("not TYPE and BASE64 of a public key");
  }
  // 2. No second one in the comment. The base64 of each begins so.
  constexpr std::size_t kLeast = 40;
  for (std::string word; words >> word;) {
    if (word.size() >= kLeast && word.rfind("AAAA", 0) == 0) {
      throw std::runtime_error("two keys on one line");
    }
  }
  return key;
}

// /dev/null is a list of no keys.
bool IsNullDevice(const struct stat& status) {
  return S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3);
}

std::string ReadAll(const base::FileDescriptor& file, const std::string& path) {
  std::string text;
  std::array<char, 4096> part{};
  for (;;) {
    const ssize_t count = read(file.get(), part.data(), part.size());
    if (count < 0) throw FileError(path);
    if (count == 0) return text;
    text.append(part.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

std::string Fingerprint(ssh_key key) {
  unsigned char* hash = nullptr;
  std::size_t size = 0;
  if (ssh_get_publickey_hash(key, SSH_PUBLICKEY_HASH_SHA256, &hash, &size) !=
      SSH_OK) {
    return "";
  }
  char* text = ssh_get_fingerprint_hash(SSH_PUBLICKEY_HASH_SHA256, hash, size);
  ssh_clean_pubkey_hash(&hash);
  std::string fingerprint = text == nullptr ? "" : text;
  ssh_string_free_char(text);
  return fingerprint;
}

base::FileDescriptor OpenAuthorizedKeys(const std::string& path) {
  // Without O_NONBLOCK, opening a FIFO would wait for a process that writes.
  base::FileDescriptor file(
      open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat status {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) throw FileError(path);
  if (IsNullDevice(status)) return file;
  if (!S_ISREG(status.st_mode)) throw NoRegularFile(path);
  // A user who may change the file could log in.
  const std::string fault = base::WhyOthersMayChange(path);
  if (!fault.empty()) throw std::runtime_error(path + ": " + fault);
  return file;
}

AuthorizedKeys::AuthorizedKeys(const base::FileDescriptor& file,
                               const std::string& path) {
  std::istringstream lines(ReadAll(file, path));
  std::string line;
  for (unsigned long number = 1; std::getline(lines, line); ++number) {
    const std::size_t start = line.find_first_not_of(" \t\r");
    if (start == std::string::npos || line[start] == '#') continue;
    try {
      keys_.push_back(ParseLine(line));
    } catch (const std::runtime_error& error) {
      throw std::runtime_error(path + ":" + std::to_string(number) + ": " +
                               error.what());
    }
  }
}

bool AuthorizedKeys::Has(ssh_key key) const {
  return std::any_of(keys_.begin(), keys_.end(), [key](const Key& known) {
    return ssh_key_cmp(known.get(), key, SSH_KEY_CMP_PUBLIC) == 0;
  });
}

}  // namespace ipav::transport
