// The folder that a server keeps its datastores in: files that are read and
// written whole, and a lock that keeps a second server out.
//
// A file is written under another name, brought to the disk, and renamed, and
// its folder is brought to the disk, too: whenever the process or the machine
// stops, the file is the old or the new one, whole. Its first line has the size
// and a checksum of the rest, and is an XML comment, so that a file that was
// cut off, or changed by others, is never taken for a configuration.
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
// put others in their place.
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
  // Makes the folder where there is none, for its owner only, and locks it
  // until it is destroyed or its process ends, however it ends; a process that
  // is forked or started meanwhile does not hold the lock. No other thread
  // forks while a folder is made or destroyed. Throws StateError, also where
  // another server has the lock. `calls`, borrowed, may be null: the system's.
  explicit StateFolder(const std::string& path, FileCalls* calls = nullptr);
  ~StateFolder();
  StateFolder(const StateFolder&) = delete;
  StateFolder& operator=(const StateFolder&) = delete;

  const std::string& path() const { return path_; }

  // The file of that name, for messages.
  std::string FileOf(const std::string& name) const;

  // The text of a file; none where there is no file. Throws StateError for one
  // that cannot be read or is not what Write() wrote.
  std::optional<std::string> Read(const std::string& name) const;

  // The same, but a file without such a first line is taken as it is, unless
  // nothing is in it: somebody else wrote it.
  std::optional<std::string> ReadOfAnyone(const std::string& name) const;

  // On the disk when it returns. Throws StateError, and then Read() still gives
  // the old text (or, where the folder itself could not be brought to the disk
  // behind the renaming, the new one).
  void Write(const std::string& name, const std::string& text);

  // The same, and then the files `old_names`, as far as they are there, are
  // removed, in their order, before the folder is brought to the disk.
  void WriteAndRemove(const std::string& name, const std::string& text,
                      const std::vector<std::string>& old_names);

  // Whole after the end of the process, but on the disk only in time.
  void WriteLazily(const std::string& name, const std::string& text);

  // On the disk when it returns; a file that is not there is none to remove.
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
