#include "ipavd/store/state_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/ipavd/store/store_fixtures.h"

namespace ipav::store {
namespace {

namespace fs = std::filesystem;

using host_test::Contains;
using host_test::TempDir;
using testing::ReadFile;

constexpr const char* kRunning = "running.xml";

// The text of a StateError; empty for none.
template <typename Body>
std::string StateErrorOf(const Body& body) {
  try {
    body();
  } catch (const StateError& error) {
    return error.what();
  }
  return "";
}

std::string OpenError(const std::string& path) {
  return StateErrorOf([&] { StateFolder folder(path); });
}

class StateFolderTest : public ::testing::Test {
 protected:
  std::string ReadError(const std::string& name) const {
    return StateErrorOf([&] { static_cast<void>(folder_->Read(name)); });
  }

  // Writes a file past the folder.
  void WriteBytes(const std::string& name, const std::string& bytes) const {
    static_cast<void>(dir_.Write("state/" + name, bytes));
  }

  const TempDir dir_;
  const std::string path_ = dir_.path() + "/state";
  std::optional<StateFolder> folder_{path_};
  const std::string file_ = path_ + "/" + kRunning;
};

TEST_F(StateFolderTest, ReadsWhatWasWritten) {
  EXPECT_EQ(folder_->Read(kRunning), std::nullopt);
  for (const std::string& text :
       {std::string(), std::string("<a/>\n"), std::string("a\0b\n\n", 5),
        std::string(1000000, 'x')}) {
    folder_->Write(kRunning, text);
    EXPECT_EQ(folder_->Read(kRunning), text);
    folder_.emplace(path_);
    EXPECT_EQ(folder_->Read(kRunning), text);
  }
}

TEST_F(StateFolderTest, IsForItsOwnerOnly) {
  folder_.reset();
  fs::remove_all(path_);
  const mode_t old_mask = umask(0);
  folder_.emplace(path_);
  folder_->Write(kRunning, "<a/>");
  umask(old_mask);
  const auto mode_of = [](const std::string& file) {
    struct stat status {};
    EXPECT_EQ(stat(file.c_str(), &status), 0);
    return status.st_mode & 07777;
  };
  EXPECT_EQ(mode_of(path_), 0700U);
  EXPECT_EQ(mode_of(file_), 0600U);
  EXPECT_EQ(mode_of(folder_->FileOf("lock")), 0600U);
}

TEST_F(StateFolderTest, RemovesFilesThatMayBeMissing) {
  folder_->Write("startup.xml", "<a/>");
  folder_->Remove("startup.xml");
  EXPECT_EQ(folder_->Read("startup.xml"), std::nullopt);
  folder_->Remove("startup.xml");
  folder_->Write("candidate.xml", "<a/>");
  folder_->Write(kRunning, "<b/>", {"none", "candidate.xml"});
  EXPECT_EQ(folder_->Read(kRunning), "<b/>");
  EXPECT_EQ(folder_->Read("candidate.xml"), std::nullopt);
}

TEST_F(StateFolderTest, WritesFilesThatAreXml) {
  folder_->Write(kRunning, "<a/>");
  const std::string bytes = ReadFile(file_);
  EXPECT_EQ(bytes.substr(0, 5), "<!-- ");
  EXPECT_EQ(bytes.substr(bytes.find('\n') - 4), " -->\n<a/>");
}

// Damage.

TEST_F(StateFolderTest, RefusesAFileWithAnotherByteOrWithoutItsEnd) {
  folder_->Write(kRunning, "<a>text</a>\n<b/>\n");
  const std::string bytes = ReadFile(file_);
  std::vector<std::string> all_damaged = {bytes + "\n"};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string damaged = bytes;
    damaged[i] = static_cast<char>(damaged[i] ^ 1);
    all_damaged.push_back(damaged);
    all_damaged.push_back(bytes.substr(0, i));
  }
  for (const std::string& damaged : all_damaged) {
    WriteBytes(kRunning, damaged);
    EXPECT_EQ(ReadError(kRunning),
              file_ +
                  ": is damaged, or was changed by hand: its first line does "
                  "not match the rest")
        << damaged;
  }
}

TEST_F(StateFolderTest, ReadsAFileOfSomebodyElseOnlyWhereThatIsAllowed) {
  const char* name = "startup.xml";
  EXPECT_EQ(folder_->ReadOfAnyone(name), std::nullopt);
  WriteBytes(name, "<a/>\n");
  EXPECT_EQ(folder_->ReadOfAnyone(name), "<a/>\n");
  EXPECT_TRUE(Contains(ReadError(name), "is damaged"));
  folder_->Write(name, "<b/>");
  EXPECT_EQ(folder_->ReadOfAnyone(name), "<b/>");
  const std::string bytes = ReadFile(folder_->FileOf(name));
  WriteBytes(name, bytes.substr(0, bytes.size() - 1));
  EXPECT_TRUE(Contains(StateErrorOf([&] { folder_->ReadOfAnyone(name); }),
                       "is damaged"));
}

TEST_F(StateFolderTest, ReadsOnlyRegularFiles) {
  fs::create_directory(file_);
  ASSERT_EQ(mkfifo(folder_->FileOf("startup.xml").c_str(), 0600), 0);
  fs::create_symlink("/etc/passwd", folder_->FileOf("candidate.xml"));
  for (const char* name : {kRunning, "startup.xml", "candidate.xml"}) {
    EXPECT_EQ(ReadError(name), folder_->FileOf(name) + ": is no regular file");
  }
}

// For others than root. A child gives up its rights for it.
TEST_F(StateFolderTest, ReportsMissingPermissions) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  constexpr uid_t kNobody = 65534;
  ASSERT_EQ(chmod(dir_.path().c_str(), 0755), 0);
  folder_->Write(kRunning, "<a/>");
  folder_.reset();
  fs::permissions(file_, fs::perms::none);
  for (const std::string& owned : {path_, path_ + "/lock"}) {
    ASSERT_EQ(chown(owned.c_str(), kNobody, kNobody), 0);
  }
  const int status = InChild([&] {
    if (setuid(kNobody) != 0) _exit(1);
    folder_.emplace(path_);
    if (!Contains(ReadError(kRunning), "Permission denied")) _exit(2);
    if (chmod(path_.c_str(), 0500) != 0) _exit(3);
    const std::string error =
        StateErrorOf([&] { folder_->Write("startup.xml", "<a/>"); });
    const std::string expected =
        path_ + "/startup.xml: cannot be written: Permission denied";
    if (error != expected) _exit(4);
  });
  EXPECT_EQ(status, 0) << "exit status " << WEXITSTATUS(status);
}

TEST_F(StateFolderTest, ThatCannotBeMadeIsRefused) {
  EXPECT_EQ(OpenError(path_ + "/no/folder"),
            path_ +
                "/no/folder: cannot keep the datastores: No such file or "
                "directory");
  const std::string file = dir_.Write("file", "");
  EXPECT_EQ(OpenError(file),
            file + ": cannot keep the datastores: Not a directory");
}

TEST_F(StateFolderTest, ThatOthersMayChangeIsRefused) {
  folder_.reset();
  fs::remove(path_ + "/lock");
  ASSERT_EQ(chmod(path_.c_str(), 01777), 0);
  EXPECT_EQ(OpenError(path_),
            path_ + ": may be written by others; chmod go-w it");
  ASSERT_EQ(chmod(path_.c_str(), 0755), 0);
  ASSERT_EQ(chmod(dir_.path().c_str(), 0770), 0);
  EXPECT_EQ(OpenError(path_), path_ + ": its folder " + dir_.path() +
                                  " may be written by others; chmod go-w it");
  EXPECT_TRUE(fs::is_empty(path_));
  ASSERT_EQ(chmod(dir_.path().c_str(), 01777), 0);
  EXPECT_EQ(OpenError(path_), "");
}

// The lock.

TEST_F(StateFolderTest, KeepsASecondServerOut) {
  const std::string error = path_ + ": is in use by another server, process " +
                            std::to_string(getpid());
  EXPECT_EQ(OpenError(path_), error);
  // Also after a child has ended, which had a copy of the lock, and from
  // another process.
  const int status = InChild([&] { _exit(OpenError(path_) == error ? 7 : 0); });
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(OpenError(path_), error);
  folder_.reset();
  EXPECT_EQ(OpenError(path_), "");
}

// A killed server cannot unlock anything.
TEST_F(StateFolderTest, IsUnlockedWhenItsServerIsKilledEvenIfAChildLives) {
  folder_.reset();
  int ready[2];
  int lifeline[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(lifeline), 0);
  char byte = 0;
  const int status = InChild([&] {
    StateFolder folder(path_);
    if (fork() != 0) raise(SIGKILL);
    close(lifeline[1]);
    static_cast<void>(write(ready[1], &byte, 1) == 1);
    // Until the end of the test.
    static_cast<void>(read(lifeline[0], &byte, 1) == 0);
  });
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  EXPECT_EQ(OpenError(path_), "");
  for (const int fd : {ready[0], ready[1], lifeline[0], lifeline[1]}) close(fd);
}

// Failures, one at a time.

// What the folder does to its files, as a whole.
struct Change {
  const char* name;
  std::function<void(StateFolder*)> run;
};

std::vector<Change> Changes() {
  return {{"Write", [](auto* folder) { folder->Write(kRunning, "<new/>"); }},
          {"WriteLazily",
           [](auto* folder) { folder->WriteLazily(kRunning, "<new/>"); }},
          {"WriteAndRemove", [](auto* folder) {
             folder->Write(kRunning, "<new/>", {"candidate.xml"});
           }}};
}

TEST_F(StateFolderTest, HasTheOldFileOrTheNewOneAfterAKillAtAnyCall) {
  folder_.reset();
  for (const Change& change : Changes()) {
    int kills = 0;
    for (int status = SIGKILL; WIFSIGNALED(status); ++kills) {
      StateFolder(path_).Write(kRunning, "<old/>");
      status = InChild([&] {
        Failures calls;
        StateFolder folder(path_, &calls);
        calls.KillAt(kills);
        change.run(&folder);
      });
      const auto text = StateFolder(path_).Read(kRunning);
      EXPECT_TRUE(text == "<new/>" || (WIFSIGNALED(status) && text == "<old/>"))
          << change.name << ", call " << kills << ": " << text.value_or("-");
    }
    EXPECT_GT(kills, 3) << change.name;
  }
}

TEST_F(StateFolderTest, HasTheOldFileAfterTheDiskWasFull) {
  int failures = 0;
  for (;; ++failures) {
    folder_.reset();
    fs::remove_all(path_);
    Failures calls;
    folder_.emplace(path_, &calls);
    folder_->Write(kRunning, "<old/>");
    calls.FailAt(failures);
    const std::string error =
        StateErrorOf([&] { folder_->Write(kRunning, "<new/>"); });
    EXPECT_EQ(!error.empty(), calls.has_failed());
    if (error.empty()) break;
    EXPECT_TRUE(Contains(error, "No space left on device"));
    // After the renaming it is the new one: only the folder is not synced.
    EXPECT_EQ(folder_->Read(kRunning), failures < 4 ? "<old/>" : "<new/>")
        << "call " << failures;
    // Nothing of the failure disturbs the next try.
    EXPECT_FALSE(fs::exists(file_ + ".new"));
    folder_->Write(kRunning, "<next/>");
    EXPECT_EQ(folder_->Read(kRunning), "<next/>");
  }
  EXPECT_EQ(failures, 5);  // open, write, sync, rename, sync
}

// Writes few bytes at a time, and is interrupted now and then.
class SlowCalls : public FileCalls {
 public:
  long Write(int fd, const void* bytes, std::size_t count) override {
    if (++calls_ % 3 == 0) {
      errno = EINTR;
      return -1;
    }
    return FileCalls::Write(fd, bytes, std::min<std::size_t>(count, 7));
  }

 private:
  int calls_ = 0;
};

TEST_F(StateFolderTest, ContinuesShortAndInterruptedWrites) {
  SlowCalls calls;
  folder_.emplace(path_, &calls);
  const std::string text(1000, 'x');
  folder_->Write(kRunning, text);
  EXPECT_EQ(folder_->Read(kRunning), text);
}

TEST_F(StateFolderTest, SyncsAFileBeforeItIsRenamedAndTheFolderAfter) {
  std::string notes;
  HookedCalls calls;
  calls.hook = [&notes](const std::string& call) {
    notes += call + " ";
    return true;
  };
  folder_.emplace(path_, &calls);
  folder_->Write(kRunning, "<a/>");
  EXPECT_EQ(notes, "open write sync-file rename sync-folder ");
  notes.clear();
  folder_->Write(kRunning, "<a/>", {"candidate.xml"});
  EXPECT_EQ(notes, "open write sync-file rename unlink sync-folder ");
  notes.clear();
  folder_->WriteLazily(kRunning, "<a/>");
  EXPECT_EQ(notes, "open write rename ");
  notes.clear();
  folder_->Remove(kRunning);
  EXPECT_EQ(notes, "unlink sync-folder ");
}

}  // namespace
}  // namespace ipav::store
