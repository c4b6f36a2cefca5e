#include "ipavd/transport/authorized_keys.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ipav::transport {

namespace {

// Null for a line without a key.
Key ParseLine(const std::string& line) {
  std::istringstream words(line);
  std::string type;
  std::string base64;
  words >> type >> base64;
  ssh_key key = nullptr;
  const int result = ssh_pki_import_pubkey_base64(
      base64.c_str(), ssh_key_type_from_name(type.c_str()), &key);
  return Key(result == SSH_OK ? key : nullptr);
}

// A user who may write the file could log in.
void CheckFile(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw FileError(path);
  if (S_ISDIR(status.st_mode)) {
    throw std::runtime_error(path + ": is a folder");
  }
  if (S_ISREG(status.st_mode) && (status.st_mode & S_IWOTH) != 0) {
    throw std::runtime_error(path + ": anybody may write it; chmod o-w it");
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

AuthorizedKeys AuthorizedKeys::FromFile(const std::string& path) {
  CheckFile(path);
  std::ifstream file(path);
  if (!file) throw FileError(path);
  AuthorizedKeys keys;
  std::string line;
  for (unsigned long number = 1; std::getline(file, line); ++number) {
    const std::size_t start = line.find_first_not_of(" \t\r");
    if (start == std::string::npos || line[start] == '#') continue;
    keys.keys_.push_back(ParseLine(line));
    if (keys.keys_.back() == nullptr) {
      throw std::runtime_error(path + ":" + std::to_string(number) +
                               ": not TYPE and BASE64 of a public key");
    }
  }
  return keys;
}

bool AuthorizedKeys::Has(ssh_key key) const {
  return std::any_of(keys_.begin(), keys_.end(), [key](const Key& known) {
    return ssh_key_cmp(known.get(), key, SSH_KEY_CMP_PUBLIC) == 0;
  });
}

}  // namespace ipav::transport
