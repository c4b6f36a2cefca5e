#include "commit/child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "fixtures.h"

namespace {

using host_test::Contains;
using ipav::commit::ChildReport;
using ipav::commit::Message;
using ipav::commit::Reporter;
using ipav::commit::RunInChild;

using Texts = std::vector<std::string>;

void ExpectOneMessage(const ChildReport& report, const Texts& texts) {
  ASSERT_EQ(report.messages.size(), 1U);
  EXPECT_EQ(report.messages[0].texts, texts);
}

// --- Messages

TEST(Child, SendsNothingWhenItHasNothingToSay) {
  const ChildReport report = RunInChild([](const Reporter&) {});
  EXPECT_TRUE(report.messages.empty());
  EXPECT_EQ(report.output, "");
  EXPECT_TRUE(WIFEXITED(report.wait_status));
  EXPECT_EQ(WEXITSTATUS(report.wait_status), 0);
}

TEST(Child, SendsMessagesInOrder) {
  const ChildReport report = RunInChild([](const Reporter& reporter) {
    for (int i = 0; i < 1000; ++i) {
      reporter.Send({static_cast<char>('a' + i % 26), {std::to_string(i)}});
    }
  });
  ASSERT_EQ(report.messages.size(), 1000U);
  for (std::size_t i = 0; i < 1000; ++i) {
    EXPECT_EQ(report.messages[i].kind, static_cast<char>('a' + i % 26));
    EXPECT_EQ(report.messages[i].texts, Texts{std::to_string(i)});
  }
}

TEST(Child, SendsTextsOfAnyBytes) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  const Texts texts = {bytes, "", std::string(3, '\0'), "100%\n"};
  const ChildReport report = RunInChild([&](const Reporter& reporter) {
    reporter.Send({'\0', texts});
    reporter.Send({'\xff', {}});
  });
  ASSERT_EQ(report.messages.size(), 2U);
  EXPECT_EQ(report.messages[0].kind, '\0');
  EXPECT_EQ(report.messages[0].texts, texts);
  EXPECT_EQ(report.messages[1].kind, '\xff');
  EXPECT_TRUE(report.messages[1].texts.empty());
}

TEST(Child, SendsLongTexts) {
  const Texts texts = {std::string(1 << 20, 'x'), std::string(1 << 20, '\0')};
  ExpectOneMessage(RunInChild([&](const Reporter& reporter) {
                     reporter.Send({'m', texts});
                   }),
                   texts);
}

TEST(Child, MessagesSentBeforeItsDeathArrive) {
  ExpectOneMessage(RunInChild([](const Reporter& reporter) {
                     reporter.Send({'m', {"last words"}});
                     raise(SIGKILL);
                   }),
                   {"last words"});
}

std::string FrameOf(const Message& message) {
  int fds[2];
  EXPECT_EQ(pipe(fds), 0);
  Reporter(fds[1]).Send(message);
  close(fds[1]);
  char bytes[4096];
  const ssize_t count = read(fds[0], bytes, sizeof(bytes));
  close(fds[0]);
  return std::string(bytes, static_cast<std::size_t>(count));
}

bool IsPipeToWrite(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode) &&
         (fcntl(fd, F_GETFL) & O_ACCMODE) == O_WRONLY;
}

bool IsSameFile(int a, int b) {
  struct stat first {};
  struct stat second {};
  return fstat(a, &first) == 0 && fstat(b, &second) == 0 &&
         first.st_ino == second.st_ino;
}

// In the child: the pipe behind its reporter, the one that is new to it and
// not its standard output.
int LineOfChild(const std::vector<bool>& known) {
  for (int fd = 3; fd < 256; ++fd) {
    if (IsPipeToWrite(fd) && !known[static_cast<std::size_t>(fd)] &&
        !IsSameFile(fd, STDOUT_FILENO)) {
      return fd;
    }
  }
  return -1;
}

TEST(Child, MessageCutOffInMidWriteIsDropped) {
  std::vector<bool> known;
  for (int fd = 0; fd < 256; ++fd) known.push_back(IsPipeToWrite(fd));
  const std::string frame = FrameOf({'z', {"cut", "off"}});
  for (std::size_t length = 0; length <= frame.size(); ++length) {
    const ChildReport report = RunInChild([&](const Reporter& reporter) {
      reporter.Send({'m', {"whole"}});
      const int line = LineOfChild(known);
      const ssize_t written = write(line, frame.data(), length);
      _exit(written == static_cast<ssize_t>(length) ? 3 : 4);
    });
    ASSERT_EQ(WEXITSTATUS(report.wait_status), 3);
    ASSERT_EQ(report.messages.size(), length < frame.size() ? 1U : 2U);
    EXPECT_EQ(report.messages[0].texts, Texts{"whole"});
  }
}

// --- Output

TEST(Child, BothOutputsAreCaptured) {
  const ChildReport report = RunInChild([](const Reporter&) {
    std::printf("to standard output\n");
    std::fprintf(stderr, "to standard error\n");
  });
  EXPECT_TRUE(Contains(report.output, "to standard output\n"));
  EXPECT_TRUE(Contains(report.output, "to standard error\n"));
}

TEST(Child, DoesNotRepeatWhatItsParentPrintedBefore) {
  testing::internal::CaptureStdout();
  std::printf("of the parent");
  const ChildReport report =
      RunInChild([](const Reporter&) { std::printf("of the child"); });
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "of the parent");
  EXPECT_EQ(report.output, "of the child");
}

TEST(Child, MuchOutputAndManyMessagesDoNotLock) {
  constexpr std::size_t kSize = 10 << 20;
  const ChildReport report = RunInChild([](const Reporter& reporter) {
    const std::string block(1 << 16, 'x');
    for (std::size_t sent = 0; sent < kSize; sent += block.size()) {
      reporter.Send({'m', {block}});
      std::fwrite(block.data(), 1, block.size(), stdout);
      std::fwrite(block.data(), 1, block.size(), stderr);
    }
  });
  EXPECT_EQ(report.messages.size(), kSize >> 16);
  EXPECT_EQ(report.output.size(), 2 * kSize);
  EXPECT_EQ(report.wait_status, 0);
}

TEST(Child, MuchOutputBeforeTheFirstMessageDoesNotLock) {
  const ChildReport report = RunInChild([](const Reporter& reporter) {
    const std::string block(10 << 20, 'x');
    std::fwrite(block.data(), 1, block.size(), stdout);
    std::fflush(stdout);
    reporter.Send({'m', {block}});
  });
  EXPECT_EQ(report.output.size(), 10U << 20);
  ASSERT_EQ(report.messages.size(), 1U);
  EXPECT_EQ(report.messages[0].texts[0].size(), 10U << 20);
}

TEST(Child, LinePrintedBeforeItsDeathIsCaptured) {
  const ChildReport report = RunInChild([](const Reporter&) {
    std::printf("last words\n");
    std::abort();
  });
  EXPECT_TRUE(Contains(report.output, "last words\n"));
}

// --- Ends

TEST(Child, ExitStatusIsReported) {
  const int status = RunInChild([](const Reporter&) { _exit(7); }).wait_status;
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(Child, SignalIsReported) {
  const int status =
      RunInChild([](const Reporter&) { raise(SIGTERM); }).wait_status;
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(Child, AbortIsReportedWithItsText) {
  const ChildReport report = RunInChild([](const Reporter&) {
    std::fprintf(stderr, "Assertion `x' failed.\n");
    std::abort();
  });
  ASSERT_TRUE(WIFSIGNALED(report.wait_status));
  EXPECT_EQ(WTERMSIG(report.wait_status), SIGABRT);
  EXPECT_EQ(report.output, "Assertion `x' failed.\n");
}

TEST(Child, LeavesNoCoreFile) {
  ExpectOneMessage(RunInChild([](const Reporter& reporter) {
                     rlimit limit{1, 1};
                     getrlimit(RLIMIT_CORE, &limit);
                     reporter.Send({'m', {std::to_string(limit.rlim_cur)}});
                   }),
                   {"0"});
}

TEST(Child, IsNoZombieAfterwards) {
  for (int i = 0; i < 3; ++i) RunInChild([](const Reporter&) { _exit(1); });
  errno = 0;
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

std::size_t OpenFiles() {
  std::size_t count = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator("/proc/self/fd")) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

TEST(Child, LeavesNoOpenFileBehind) {
  const std::size_t before = OpenFiles();
  for (int i = 0; i < 3; ++i) RunInChild([](const Reporter&) {});
  EXPECT_EQ(OpenFiles(), before);
}

TEST(Child, DoesNotRunWhatItsParentRegisteredForItsEnd) {
  const ChildReport report = RunInChild([](const Reporter&) {
    std::atexit([] { std::fprintf(stderr, "at the end"); });
  });
  EXPECT_EQ(report.output, "");
}

TEST(Child, IsNotWaitedForBeyondItsEnd) {
  const auto start = std::chrono::steady_clock::now();
  const ChildReport report = RunInChild([](const Reporter& reporter) {
    reporter.Send({'m', {"done"}});
    // A process of its own that keeps all that it inherited open.
    if (fork() == 0) {
      sleep(8);
      _exit(0);
    }
  });
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
  ExpectOneMessage(report, {"done"});
}

// Runs `body` in a child. When what it throws escapes into the copy of the
// parent, that copy ends with status 99.
template <typename Body>
ChildReport RunThrowing(const Body& body) {
  const pid_t parent = getpid();
  try {
    return RunInChild([&](const Reporter& reporter) {
      reporter.Send({'m', {"before"}});
      body();
    });
  } catch (...) {
    if (getpid() != parent) _exit(99);
    throw;
  }
}

TEST(Child, ExceptionOfTheBodyEndsItAndIsReported) {
  const ChildReport report =
      RunThrowing([] { throw std::runtime_error("thrown for a reason"); });
  ExpectOneMessage(report, {"before"});
  EXPECT_NE(report.wait_status, 0);
  EXPECT_FALSE(WIFEXITED(report.wait_status) &&
               WEXITSTATUS(report.wait_status) == 99)
      << "the child went on as a second host";
  EXPECT_TRUE(Contains(report.output, "thrown for a reason"));
}

TEST(Child, ExceptionThatIsNoObjectOfTheLibraryEndsItToo) {
  const ChildReport report = RunThrowing([] { throw 42; });
  EXPECT_NE(report.wait_status, 0);
  EXPECT_FALSE(WIFEXITED(report.wait_status) &&
               WEXITSTATUS(report.wait_status) == 99)
      << "the child went on as a second host";
}

TEST(Child, WorksForAHostWithoutStandardFiles) {
  int verdict[2];
  ASSERT_EQ(pipe(verdict), 0);
  const pid_t host = fork();
  ASSERT_GE(host, 0);
  if (host == 0) {
    const int answer = fcntl(verdict[1], F_DUPFD, 100);
    for (int fd = 0; fd < 100; ++fd) close(fd);
    const ChildReport report = RunInChild([](const Reporter& reporter) {
      reporter.Send({'m', {"over the line"}});
      std::fprintf(stderr, "to standard error");
    });
    const bool good = report.messages.size() == 1 &&
                      report.messages[0].texts == Texts{"over the line"} &&
                      report.output == "to standard error";
    const char byte = good ? 'y' : 'n';
    _exit(write(answer, &byte, 1) == 1 ? 0 : 1);
  }
  close(verdict[1]);
  char answer = '?';
  EXPECT_EQ(read(verdict[0], &answer, 1), 1);
  close(verdict[0]);
  EXPECT_EQ(waitpid(host, nullptr, 0), host);
  EXPECT_EQ(answer, 'y');
}

}  // namespace
