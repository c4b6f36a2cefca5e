#include "datastore/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <vector>

#include "base/file_descriptor.h"

namespace ipav::datastore {

namespace {

using base::FileDescriptor;

InputError SystemError(const std::string& path) {
  return {path, std::generic_category().message(errno)};
}

InputError TooLarge(const std::string& path, std::size_t max_size) {
  return {path,
          "is larger than the limit of " + std::to_string(max_size) + " bytes"};
}

FileDescriptor Open(const std::string& path) {
  FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  if (file.get() < 0) throw SystemError(path);
  return file;
}

// The size of the file; 0 of what has none.
std::size_t SizeOf(const FileDescriptor& file, const std::string& path) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw SystemError(path);
  if (S_ISDIR(status.st_mode)) {
    throw InputError(path, "is a directory, not a file");
  }
  return S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) : 0;
}

// Appends what there is. False at the end.
bool ReadSome(const FileDescriptor& file, const std::string& path,
              std::vector<char>* buffer, std::string* text) {
  const ssize_t count = read(file.get(), buffer->data(), buffer->size());
  if (count < 0 && errno != EINTR) throw SystemError(path);
  if (count > 0) text->append(buffer->data(), static_cast<std::size_t>(count));
  return count != 0;
}

}  // namespace

std::string ReadInput(const std::string& path, std::size_t max_size) {
  const FileDescriptor file = Open(path);
  const std::size_t size = SizeOf(file, path);
  if (size > max_size) throw TooLarge(path, max_size);

  std::string text;
  text.reserve(size);
  std::vector<char> buffer(65536);
  while (ReadSome(file, path, &buffer, &text)) {
    if (text.size() > max_size) throw TooLarge(path, max_size);
  }
  return text;
}

}  // namespace ipav::datastore
