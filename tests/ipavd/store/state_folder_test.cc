#include "ipavd/store/state_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "tests/ipavd/store/store_fixtures.h"

namespace {

namespace fs = std::filesystem;

using host_test::Contains;
using host_test::TempDir;
using ipav::store::FileCalls;
using ipav::store::StateError;
using ipav::store::StateFolder;
using store_test::Failures;
using store_test::HookedCalls;
using store_test::InChild;

template <typename Body>
std::string StateErrorOf(const Body& body) {
  try {
    body();
  } catch (const StateError& error) {
    return error.what();
  }
  ADD_FAILURE() << "no StateError";
  return "";
}

std::string BytesOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  std::stringstream text;
  text << stream.rdbuf();
  return text.str();
}

class StateFolderTest : public testing::Test {
 protected:
  std::string path() const { return dir_.path() + "/state"; }

 private:
  TempDir dir_;
};

TEST_F(StateFolderTest, WhatIsWrittenIsRead) {
  StateFolder folder(path());
  for (const std::string& text :
       {std::string(), std::string("<a/>\n"), std::string("a\0b\n\n", 5),
        std::string(1000000, 'x')}) {
    folder.Write("running.xml", text);
    EXPECT_EQ(folder.Read("running.xml"), text);
  }
}

TEST_F(StateFolderTest, WhatIsWrittenIsThereForTheNextServer) {
  { StateFolder(path()).Write("running.xml", "<a/>"); }
  EXPECT_EQ(StateFolder(path()).Read("running.xml"), "<a/>");
}

TEST_F(StateFolderTest, AFileThatIsNotThereIsNone) {
  EXPECT_EQ(StateFolder(path()).Read("running.xml"), std::nullopt);
}

TEST_F(StateFolderTest, FolderAndFilesAreForTheirOwnerOnly) {
  const mode_t old_mask = umask(0);
  StateFolder folder(path());
  folder.Write("running.xml", "<a/>");
  umask(old_mask);
  const auto mode_of = [](const std::string& file) {
    struct stat status {};
    EXPECT_EQ(stat(file.c_str(), &status), 0);
    return status.st_mode & 07777;
  };
  EXPECT_EQ(mode_of(path()), 0700U);
  EXPECT_EQ(mode_of(folder.FileOf("running.xml")), 0600U);
  EXPECT_EQ(mode_of(folder.FileOf("lock")), 0600U);
}

TEST_F(StateFolderTest, RemovedFilesAreGoneAndNeedNotBeThere) {
  StateFolder folder(path());
  folder.Write("startup.xml", "<a/>");
  folder.Remove("startup.xml");
  EXPECT_EQ(folder.Read("startup.xml"), std::nullopt);
  folder.Remove("startup.xml");
}

TEST_F(StateFolderTest, OneFileReplacesAnother) {
  StateFolder folder(path());
  folder.Write("candidate.xml", "<a/>");
  folder.WriteAndRemove("running.xml", "<b/>", {"candidate.xml"});
  EXPECT_EQ(folder.Read("running.xml"), "<b/>");
  EXPECT_EQ(folder.Read("candidate.xml"), std::nullopt);
}

TEST_F(StateFolderTest, AFileIsXmlForOthers) {
  StateFolder folder(path());
  folder.Write("running.xml", "<a/>");
  const std::string bytes = BytesOf(folder.FileOf("running.xml"));
  EXPECT_EQ(bytes.substr(0, 5), "<!-- ");
  EXPECT_EQ(bytes.substr(bytes.find('\n') - 4), " -->\n<a/>");
}

// Damage.

TEST_F(StateFolderTest, EveryByteThatIsAnotherOneIsNoticed) {
  StateFolder folder(path());
  folder.Write("running.xml", "<a>text</a>");
  const std::string file = folder.FileOf("running.xml");
  const std::string bytes = BytesOf(file);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string damaged = bytes;
    damaged[i] = static_cast<char>(damaged[i] ^ 1);
    std::ofstream(file, std::ios::binary) << damaged;
    EXPECT_TRUE(Contains(
        StateErrorOf([&] { static_cast<void>(folder.Read("running.xml")); }),
        file + ": is damaged, or was changed by hand"))
        << "byte " << i;
  }
}

TEST_F(StateFolderTest, AFileCutOffAnywhereIsNoticed) {
  StateFolder folder(path());
  folder.Write("running.xml", "<a/>\n<b/>\n");
  const std::string file = folder.FileOf("running.xml");
  const std::string bytes = BytesOf(file);
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    std::ofstream(file, std::ios::binary) << bytes.substr(0, size);
    EXPECT_TRUE(Contains(
        StateErrorOf([&] { static_cast<void>(folder.Read("running.xml")); }),
        "is damaged"))
        << size << " bytes";
  }
  std::ofstream(file, std::ios::binary) << bytes << "\n";
  StateErrorOf([&] { static_cast<void>(folder.Read("running.xml")); });
}

TEST_F(StateFolderTest, AFileOfSomebodyElseIsReadWhereThatIsAllowed) {
  StateFolder folder(path());
  const std::string file = folder.FileOf("startup.xml");
  EXPECT_EQ(folder.ReadOfAnyone("startup.xml"), std::nullopt);
  std::ofstream(file, std::ios::binary) << "<a/>\n";
  EXPECT_EQ(folder.ReadOfAnyone("startup.xml"), "<a/>\n");
  StateErrorOf([&] { static_cast<void>(folder.Read("startup.xml")); });
  folder.Write("startup.xml", "<b/>");
  EXPECT_EQ(folder.ReadOfAnyone("startup.xml"), "<b/>");
  const std::string bytes = BytesOf(file);
  std::ofstream(file, std::ios::binary) << bytes.substr(0, bytes.size() - 1);
  StateErrorOf([&] { static_cast<void>(folder.ReadOfAnyone("startup.xml")); });
}

TEST_F(StateFolderTest, WhatIsNoFileIsRefused) {
  StateFolder folder(path());
  fs::create_directory(folder.FileOf("running.xml"));
  ASSERT_EQ(mkfifo(folder.FileOf("startup.xml").c_str(), 0600), 0);
  fs::create_symlink("/etc/passwd", folder.FileOf("candidate.xml"));
  for (const char* name : {"running.xml", "startup.xml", "candidate.xml"}) {
    EXPECT_EQ(StateErrorOf([&] { static_cast<void>(folder.Read(name)); }),
              folder.FileOf(name) + ": is no regular file");
  }
}

// What others than root meet. A child gives up its rights for it.
TEST_F(StateFolderTest, WhatMayNotBeReadOrWrittenIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  constexpr uid_t kNobody = 65534;
  fs::permissions(fs::path(path()).parent_path(), fs::perms::all);
  {
    StateFolder folder(path());
    folder.Write("running.xml", "<a/>");
    fs::permissions(folder.FileOf("running.xml"), fs::perms::none);
    ASSERT_EQ(chown(path().c_str(), kNobody, kNobody), 0);
    ASSERT_EQ(chown(folder.FileOf("lock").c_str(), kNobody, kNobody), 0);
  }
  const auto status = InChild([&] {
    if (setuid(kNobody) != 0) _exit(1);
    try {
      StateFolder folder(path());
      try {
        static_cast<void>(folder.Read("running.xml"));
        _exit(2);
      } catch (const StateError& error) {
        if (!Contains(error.what(), "Permission denied")) _exit(3);
      }
      if (chmod(path().c_str(), 0500) != 0) _exit(4);
      folder.Write("startup.xml", "<a/>");
      _exit(5);
    } catch (const StateError& error) {
      _exit(std::string(error.what()) ==
                    path() +
                        "/startup.xml: cannot be written: Permission denied"
                ? 0
                : 6);
    }
  });
  EXPECT_EQ(status, 0) << "exit status " << WEXITSTATUS(status);
}

TEST_F(StateFolderTest, AFolderThatCannotBeMadeIsRefused) {
  EXPECT_EQ(StateErrorOf([&] { StateFolder(path() + "/no/folder"); }),
            path() +
                "/no/folder: cannot keep the datastores: No such file or "
                "directory");
  const TempDir dir;
  const std::string file = dir.Write("file", "");
  EXPECT_EQ(StateErrorOf([&] { StateFolder folder(file); }),
            file + ": cannot keep the datastores: Not a directory");
}

// The lock.

TEST_F(StateFolderTest, ASecondServerIsKeptOut) {
  StateFolder folder(path());
  EXPECT_EQ(StateErrorOf([&] { StateFolder second(path()); }),
            path() + ": is in use by another server, process " +
                std::to_string(getpid()));
  const int status = InChild([&] {
    try {
      StateFolder second(path());
    } catch (const StateError&) {
      _exit(7);
    }
  });
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(StateFolderTest, TheLockGoesWithTheFolder) {
  { StateFolder folder(path()); }
  StateFolder folder(path());
}

TEST_F(StateFolderTest, TheLockGoesWithAProcessThatIsKilled) {
  const int status = InChild([&] {
    StateFolder folder(path());
    raise(SIGKILL);
  });
  ASSERT_TRUE(WIFSIGNALED(status));
  StateFolder folder(path());
}

// Of a server that is killed, and so cannot unlock anything.
TEST_F(StateFolderTest, AChildThatOutlivesTheServerDoesNotKeepTheLock) {
  int ready[2];
  int lifeline[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(lifeline), 0);
  char byte = 0;
  const int status = InChild([&] {
    StateFolder folder(path());
    if (fork() != 0) raise(SIGKILL);
    close(lifeline[1]);
    static_cast<void>(write(ready[1], &byte, 1) == 1);
    static_cast<void>(read(lifeline[0], &byte, 1) ==
                      0);  // until the test's end
  });
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  { StateFolder folder(path()); }
  for (const int fd : {ready[0], ready[1], lifeline[0], lifeline[1]}) close(fd);
}

TEST_F(StateFolderTest, AChildThatEndsDoesNotTakeTheLockAway) {
  StateFolder folder(path());
  EXPECT_EQ(InChild([] {}), 0);
  EXPECT_TRUE(Contains(StateErrorOf([&] { StateFolder second(path()); }),
                       "is in use by another server"));
}

// Failures, one at a time.

// What the folder does to its files, as a whole.
struct Change {
  const char* name;
  std::function<void(StateFolder*)> run;
};

std::vector<Change> Changes() {
  return {{"Write", [](StateFolder* f) { f->Write("running.xml", "<new/>"); }},
          {"WriteLazily",
           [](StateFolder* f) { f->WriteLazily("running.xml", "<new/>"); }},
          {"WriteAndRemove", [](StateFolder* f) {
             f->WriteAndRemove("running.xml", "<new/>", {"candidate.xml"});
           }}};
}

TEST_F(StateFolderTest, KilledAtAnyCallItLeavesTheOldFileOrTheNewOne) {
  for (const Change& change : Changes()) {
    int deaths = 0;
    for (int number = 0;; ++number) {
      {
        StateFolder folder(path());
        folder.Write("running.xml", "<old/>");
      }
      const int status = InChild([&] {
        Failures calls;
        StateFolder folder(path(), &calls);
        calls.KillAt(number);
        change.run(&folder);
      });
      const std::optional<std::string> text =
          StateFolder(path()).Read("running.xml");
      if (!WIFSIGNALED(status)) {
        EXPECT_EQ(text, "<new/>") << change.name;
        break;
      }
      ++deaths;
      EXPECT_TRUE(text == "<old/>" || text == "<new/>")
          << change.name << ", call " << number << ": " << text.value_or("-");
    }
    EXPECT_GE(deaths, 3) << change.name;
  }
}

TEST_F(StateFolderTest, AFullDiskLeavesTheOldFile) {
  int failures = 0;
  for (int number = 0;; ++number) {
    fs::remove_all(path());
    { StateFolder(path()).Write("running.xml", "<old/>"); }
    Failures calls;
    StateFolder folder(path(), &calls);
    calls.FailAt(number);
    bool failed = false;
    try {
      folder.Write("running.xml", "<new/>");
    } catch (const StateError& error) {
      failed = true;
      EXPECT_TRUE(Contains(error.what(), "No space left on device"));
    }
    EXPECT_EQ(failed, calls.has_failed());
    if (!failed) break;
    ++failures;
    // Only behind the renaming it is the new one: the folder is not synced.
    EXPECT_EQ(folder.Read("running.xml"), number < 4 ? "<old/>" : "<new/>")
        << "call " << number;
    // And nothing of the failure stays for the next try.
    EXPECT_FALSE(fs::exists(folder.FileOf("running.xml.new")));
    folder.Write("running.xml", "<next/>");
    EXPECT_EQ(folder.Read("running.xml"), "<next/>");
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

TEST_F(StateFolderTest, ShortAndInterruptedWritesAreContinued) {
  SlowCalls calls;
  StateFolder folder(path(), &calls);
  const std::string text(1000, 'x');
  folder.Write("running.xml", text);
  EXPECT_EQ(folder.Read("running.xml"), text);
}

TEST_F(StateFolderTest, AFileIsOnTheDiskBeforeItIsRenamedAndItsFolderAfter) {
  std::string notes;
  HookedCalls calls;
  calls.hook = [&notes](const std::string& call) {
    notes += call + " ";
    return true;
  };
  StateFolder folder(path(), &calls);
  folder.Write("running.xml", "<a/>");
  EXPECT_EQ(notes, "open write sync-file rename sync-folder ");
  notes.clear();
  folder.WriteAndRemove("running.xml", "<a/>", {"candidate.xml"});
  EXPECT_EQ(notes, "open write sync-file rename unlink sync-folder ");
  notes.clear();
  folder.Remove("running.xml");
  EXPECT_EQ(notes, "unlink sync-folder ");
}

}  // namespace
