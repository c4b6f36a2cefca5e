#include "host/datastore/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "host/base/file_descriptor.h"

namespace ipav::datastore {

namespace {

using base::FileDescriptor;

// The first buffer for a file without a known size.
constexpr std::size_t kLeastRoom = 65536;

// Null: only files are read.
Texts* g_texts = nullptr;

InputError SystemError(const std::string& path) {
  return {path, std::generic_category().message(errno)};
}

FileDescriptor Open(const std::string& path) {
  FileDescriptor file(
      path == kStandardInput
          ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
          : open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  if (file.get() < 0) throw SystemError(path);
  return file;
}

// The size of the file; 0 if it has none, such as a pipe.
std::size_t SizeOf(const FileDescriptor& file, const std::string& path) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw SystemError(path);
  if (S_ISDIR(status.st_mode)) {
    throw InputError(path, "is a directory, not a file");
  }
  return S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) : 0;
}

const std::string* FindText(const std::string& path) {
  if (g_texts == nullptr) return nullptr;
  const auto found = g_texts->find(path);
  if (found != g_texts->end()) return &found->second;
  if (path != kStandardInput) return nullptr;
  throw InputError(path, "cannot be read in a session");
}

// Reads into the free space after `used`. False at the end of the file.
bool ReadSome(const FileDescriptor& file, const std::string& path,
              std::string* text, std::size_t* used) {
  const ssize_t count =
      read(file.get(), text->data() + *used, text->size() - *used);
  if (count < 0 && errno != EINTR) throw SystemError(path);
  if (count > 0) *used += static_cast<std::size_t>(count);
  return count != 0;
}

}  // namespace

InputError TooLarge(const std::string& path, std::size_t max_size) {
  return {path,
          "is larger than the limit of " + std::to_string(max_size) + " bytes"};
}

std::string ReadInput(const std::string& path, std::size_t max_size) {
  if (const std::string* text = FindText(path)) {
    if (text->size() > max_size) throw TooLarge(path, max_size);
    return *text;
  }
  const FileDescriptor file = Open(path);
  const std::size_t size = SizeOf(file, path);
  if (size > max_size) throw TooLarge(path, max_size);

  // One byte more than the size, to notice the end without growing.
  std::string text(size + 1, '\0');
  std::size_t used = 0;
  while (ReadSome(file, path, &text, &used)) {
    if (used > max_size) throw TooLarge(path, max_size);
    if (used == text.size()) text.resize(std::max(2 * used, kLeastRoom));
  }
  text.resize(used);
  return text;
}

void ReadTextsInstead(Texts texts) {
  // Leaked on purpose: it lives as long as the process.
  if (g_texts == nullptr) g_texts = new Texts;
  *g_texts = std::move(texts);
}

bool IsText(const std::string& path) {
  return g_texts != nullptr && g_texts->count(path) > 0;
}

}  // namespace ipav::datastore
