// The folder of a server's datastores: files that are read and written as a
// whole, and a lock that keeps a second server out.
//
// A file is written under another name, synchronised and renamed, and then its
// folder is synchronised. Whenever the process or the machine stops, the file
// is complete, old or new. Its first line is an XML comment with the size and a
// checksum of the rest, so that a truncated or edited file is never taken for a
// configuration.
#ifndef IPAV_IPAVD_STORE_STATE_FOLDER_H_
#define IPAV_IPAVD_STORE_STATE_FOLDER_H_

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/base/file_descriptor.h"

namespace ipav::store {

// what() is one line: "FILE: reason".
class StateError : public std::runtime_error {
 public:
  explicit StateError(const std::string& line) : std::runtime_error(line) {}
  StateError(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason) {}
};

// The system calls that change the folder, each as in its manual page. Tests
// replace them.
class FileCalls {
 public:
  FileCalls() = default;
  virtual ~FileCalls() = default;
  FileCalls(const FileCalls&) = delete;
  FileCalls& operator=(const FileCalls&) = delete;

  virtual int Open(const char* path, int flags, unsigned mode);
  virtual long Write(int fd, const void* bytes, std::size_t count);
  virtual int Sync(int fd);
  virtual int Rename(const char* from, const char* to);
  virtual int Unlink(const char* path);
};

class StateFolder {
 public:
  // Creates the folder if it does not exist, for its owner only, and locks it
  // until the object is destroyed or the process ends. Child processes do not
  // hold the lock; no other thread may fork while a folder is constructed or
  // destroyed. Throws StateError, also if another server has the lock, or if
  // another user may change the folder. `calls` is borrowed; null means the
  // system calls.
  explicit StateFolder(const std::string& path, FileCalls* calls = nullptr);
  ~StateFolder();
  StateFolder(const StateFolder&) = delete;
  StateFolder& operator=(const StateFolder&) = delete;

  const std::string& path() const { return path_; }

  // The file of that name, for messages.
  std::string FileOf(const std::string& name) const;

  // The text of a file; none if it does not exist. Throws StateError if it
  // cannot be read or is not what Write() wrote.
  std::optional<std::string> Read(const std::string& name) const;

  // The same, but also accepts a file without the first line, which somebody
  // else wrote, unless it is empty.
  std::optional<std::string> ReadOfAnyone(const std::string& name) const;

  // Writes the file, and then removes the files `old_names` that exist, in
  // their order. The text is on the disk when it returns. Throws StateError;
  // then Read() still returns the old text, or the new one if only the folder
  // could not be synchronised after the renaming.
  void Write(const std::string& name, const std::string& text,
             const std::vector<std::string>& old_names = {});

  // The file survives the end of the process, but is synchronised later.
  void WriteLazily(const std::string& name, const std::string& text);

  // The removal is on the disk when it returns. A missing file is not an error.
  // Throws StateError.
  void Remove(const std::string& name);

 private:
  void Lock();
  std::optional<std::string> ReadBytes(const std::string& file) const;
  void Replace(const std::string& name, const std::string& text, bool sync);
  bool WriteFile(const std::string& file, const std::string& bytes, bool sync);
  void Unlink(const std::string& name);
  void SyncFolder();

  std::string path_;
  FileCalls own_calls_;
  FileCalls* calls_;
  bool is_made_;
  base::FileDescriptor folder_;
  base::FileDescriptor lock_;
};

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_STATE_FOLDER_H_
