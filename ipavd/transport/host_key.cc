#include "ipavd/transport/host_key.h"

#include <fcntl.h>
#include <libssh/libssh.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

namespace {

// Writes the whole file or nothing: a truncated key would keep the server from
// starting.
void WriteFile(const std::string& path, const std::string& text, mode_t mode) {
  const std::string draft = path + ".new";
  static_cast<void>(unlink(draft.c_str()));
  const base::FileDescriptor file(
      open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  const auto size = static_cast<ssize_t>(text.size());
  if (file.get() < 0 || write(file.get(), text.data(), text.size()) != size ||
      fsync(file.get()) != 0 || rename(draft.c_str(), path.c_str()) != 0) {
    throw FileError(path);
  }
}

std::string Take(char* text) {
  std::string taken(text);
  ssh_string_free_char(text);
  return taken;
}

Key MakeKey(const std::string& path) {
  ssh_key made = nullptr;
  char* secret = nullptr;
  char* open_part = nullptr;
  if (ssh_pki_generate(SSH_KEYTYPE_ECDSA_P256, 256, &made) != SSH_OK) {
    throw std::runtime_error(path + ": no host key can be made");
  }
  Key key(made);
  if (ssh_pki_export_privkey_base64(made, nullptr, nullptr, nullptr, &secret) !=
      SSH_OK) {
    throw std::runtime_error(path + ": no host key can be made");
  }
  const std::string private_text = Take(secret);
  if (ssh_pki_export_pubkey_base64(made, &open_part) != SSH_OK) {
    throw std::runtime_error(path + ": no host key can be made");
  }
  WriteFile(path + ".pub",
            std::string(ssh_key_type_to_char(ssh_key_type(made))) + " " +
                Take(open_part) + "\n",
            0644);
  WriteFile(path, private_text, 0600);
  return key;
}

}  // namespace

Key HostKey(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno != ENOENT) throw FileError(path);
    return MakeKey(path);
  }
  if (!S_ISREG(status.st_mode)) throw NoRegularFile(path);
  if ((status.st_mode & 077U) != 0) {
    throw std::runtime_error(path + ": others may read it; chmod 600 it");
  }
  ssh_key read = nullptr;
  if (ssh_pki_import_privkey_file(path.c_str(), nullptr, nullptr, nullptr,
                                  &read) != SSH_OK) {
    throw std::runtime_error(path + ": not a private key");
  }
  return Key(read);
}

}  // namespace ipav::transport
