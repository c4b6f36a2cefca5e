#include "cli/fleet/git.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <utility>

#include "host/datastore/input_error.h"

namespace ipav::cli::fleet {

namespace {

namespace fs = std::filesystem;
using base::FileDescriptor;
using datastore::InputError;
using Words = std::vector<std::string>;

constexpr const char* kLink = "120000";  // mode of a symbolic link

std::system_error FailedCall(const char* call) {
  return {errno, std::generic_category(), call};
}

// An empty file in memory. Unlike a pipe, it does not fill up.
FileDescriptor MemoryFile() {
  FileDescriptor file(memfd_create("git", MFD_CLOEXEC));
  if (file.get() < 0) throw FailedCall("memfd_create");
  return file;
}

std::size_t SizeOf(const FileDescriptor& file) {
  return static_cast<std::size_t>(lseek(file.get(), 0, SEEK_END));
}

std::string BytesAt(const FileDescriptor& file, std::size_t at,
                    std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t used = 0;
  while (used < size) {
    const ssize_t count = pread(file.get(), bytes.data() + used, size - used,
                                static_cast<off_t>(at + used));
    if (count <= 0) throw FailedCall("pread");
    used += static_cast<std::size_t>(count);
  }
  return bytes;
}

// Becomes git, in a child process.
[[noreturn]] void Become(char* const* arguments, pid_t parent,
                         const std::array<int, 3>& files) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // the parent ended before prctl()
  for (int fd = 0; fd < 3; ++fd) dup2(files[static_cast<std::size_t>(fd)], fd);
  // Other git commands of the user go on meanwhile.
  setenv("GIT_OPTIONAL_LOCKS", "0", 1);
  execvp(*arguments, arguments);
  const std::string error = std::generic_category().message(errno) + "\n";
  static_cast<void>(base::WriteAll(STDERR_FILENO, error));
  _exit(1);
}

// The exit status, or that of a process that was killed.
int RunToEnd(Words arguments, const std::array<int, 3>& files) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));  // else it has no status
  static_cast<void>(std::fflush(nullptr));
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process < 0) throw FailedCall("fork");
  if (process == 0) Become(pointers.data(), parent, files);
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) throw FailedCall("waitpid");
  }
  return status;
}

InputError ErrorOf(const std::string& text) {
  Words errors;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) errors.push_back("git: " + line);
  }
  if (errors.empty()) errors.emplace_back("git: failed without a reason");
  return InputError(std::move(errors));
}

// A file with what git prints in that folder.
FileDescriptor RunGit(const std::string& folder, const Words& more,
                      const std::string& input) {
  // With this setting, git diff compares the bytes of files of another age.
  Words arguments = {"git", "-C", folder, "-c", "diff.autoRefreshIndex=true"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  const FileDescriptor in = MemoryFile();
  FileDescriptor out = MemoryFile();
  const FileDescriptor errors = MemoryFile();
  if (!base::WriteAll(in.get(), input)) throw FailedCall("write");
  lseek(in.get(), 0, SEEK_SET);
  if (RunToEnd(std::move(arguments), {in.get(), out.get(), errors.get()}) !=
      0) {
    throw ErrorOf(BytesAt(errors, 0, SizeOf(errors)));
  }
  return out;
}

std::string Git(const std::string& folder, const Words& more) {
  const FileDescriptor out = RunGit(folder, more, "");
  return BytesAt(out, 0, SizeOf(out));
}

// Texts that each end with a NUL.
Words SplitAtNul(const std::string& text) {
  Words words;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\0', at);
    words.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return words;
}

}  // namespace

GitRevision::GitRevision(const std::string& root, const std::string& name) {
  const std::string tree = name + "^{tree}";  // not a part of it
  // "MODE TYPE ID SIZE\tNAME"; the size of what is not a file is "-".
  for (const std::string& line :
       SplitAtNul(Git(root, {"ls-tree", "-r", "-l", "-z", tree}))) {
    const std::size_t tab = line.find('\t');
    std::istringstream words(line.substr(0, tab));
    std::string mode;
    std::string type;
    Blob blob;
    blob.root = root;
    words >> mode >> type >> blob.id >> blob.size;
    // The text of a symbolic link is not that of a configuration.
    if (type != "blob" || mode == kLink) continue;
    files_.emplace(line.substr(tab + 1), blob);
  }
  for (std::string& file :
       SplitAtNul(Git(root, {"diff", "--name-only", "-z", "--no-renames",
                             "--no-relative", tree, "--"}))) {
    changed_.insert(std::move(file));
  }
  // "TAG NAME". git diff does not look at files that are assumed to be
  // unchanged (a small letter), nor at those that are skipped (S), which a
  // sparse work tree does not have.
  for (const std::string& line :
       SplitAtNul(Git(root, {"ls-files", "-v", "-z"}))) {
    const std::string file = line.substr(2);
    if ((line[0] >= 'a' && line[0] <= 'z') ||
        (line[0] == 'S' && fs::exists(fs::path(root) / file))) {
      changed_.insert(file);
    }
  }
}

void FetchBlobs(const std::string& root, const std::vector<Blob*>& blobs) {
  std::string ids;
  for (const Blob* blob : blobs) ids += blob->id + "\n";
  const auto file = std::make_shared<const FileDescriptor>(
      RunGit(root, {"cat-file", "--batch"}, ids));
  std::size_t at = 0;
  for (Blob* blob : blobs) {
    // "ID blob SIZE", the bytes, and a line end.
    at += blob->id.size() + std::to_string(blob->size).size() + 7;
    blob->file = file;
    blob->at = at;
    at += blob->size + 1;
  }
  if (at != SizeOf(*file)) throw ErrorOf("fatal: a file is missing");
}

std::string ReadBlob(const Blob& blob) {
  return BytesAt(*blob.file, blob.at, blob.size);
}

std::string GitRoot(const std::string& folder) {
  std::string root = Git(folder, {"rev-parse", "--show-toplevel"});
  root.pop_back();  // the line end
  return root;
}

}  // namespace ipav::cli::fleet
