#include "host/commit/child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/fixtures.h"

namespace {

using host_test::Contains;
using ipav::base::TimeLimit;
using ipav::commit::ChildReport;
using ipav::commit::ForkServer;
using ipav::commit::kMaxMessages;
using ipav::commit::kMaxOutput;
using ipav::commit::Message;
using ipav::commit::Reporter;
using ipav::commit::RunInChild;
using ipav::commit::Stopped;

using Texts = std::vector<std::string>;

void ExpectOneMessage(const ChildReport& report, const Texts& texts) {
  ASSERT_EQ(report.messages.size(), 1U);
  EXPECT_EQ(report.messages[0].texts, texts);
}

// --- Messages

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

// A pipe's ends; closed where they are no longer needed.
struct Line {
  int read_end;
  int write_end;
};

Line MakeLine() {
  int fds[2];
  EXPECT_EQ(pipe(fds), 0);
  return {fds[0], fds[1]};
}

std::string FrameOf(const Message& message) {
  const Line line = MakeLine();
  Reporter(line.write_end).Send(message);
  close(line.write_end);
  char bytes[4096];
  const ssize_t count = read(line.read_end, bytes, sizeof(bytes));
  close(line.read_end);
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

// --- Ends

TEST(Child, EndIsReportedWithTheLastOutput) {
  const struct {
    void (*body)();
    int exit_status;  // or
    int signal;
    const char* output;
  } cases[] = {
      {[] { _exit(7); }, 7, 0, ""},
      {[] { raise(SIGTERM); }, 0, SIGTERM, ""},
      {[] { std::printf("last words\n"), std::abort(); }, 0, SIGABRT,
       "last words\n"},
      {[] { std::fprintf(stderr, "Assertion `x' failed.\n"), std::abort(); }, 0,
       SIGABRT, "Assertion `x' failed.\n"}};
  for (const auto& one : cases) {
    const ChildReport report = RunInChild([&](const Reporter&) { one.body(); });
    EXPECT_EQ(report.wait_status, W_EXITCODE(one.exit_status, one.signal));
    EXPECT_EQ(report.output, one.output);
  }
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

std::ptrdiff_t OpenFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

TEST(Child, LeavesNoOpenFileBehind) {
  const std::ptrdiff_t before = OpenFiles();
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

// If the exception escapes into the copy of the parent, that copy ends with
// status 99.
TEST(Child, ExceptionOfTheBodyEndsItAndIsReported) {
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[] { throw std::runtime_error("thrown for a reason"); },
       "thrown for a reason"},
      {[] { throw 42; }, "'int'"}};
  const pid_t parent = getpid();
  for (const auto& [body, output] : cases) {
    ChildReport report;
    try {
      report = RunInChild([&, throws = body](const Reporter& reporter) {
        reporter.Send({'m', {"before"}});
        throws();
      });
    } catch (...) {
      if (getpid() != parent) _exit(99);
      throw;
    }
    ExpectOneMessage(report, {"before"});
    EXPECT_EQ(report.wait_status, W_EXITCODE(0, SIGABRT));
    EXPECT_TRUE(Contains(report.output, output));
  }
}

// A forked host that runs `body`.
template <typename Body>
pid_t ForkHost(const Body& body) {
  const pid_t host = fork();
  EXPECT_GE(host, 0);
  if (host != 0) return host;
  body();
  _exit(0);
}

TEST(Child, WorksForAHostWithoutStandardFiles) {
  const Line verdict = MakeLine();
  const pid_t host = ForkHost([&] {
    const int answer = fcntl(verdict.write_end, F_DUPFD, 100);
    for (int fd = 0; fd < 100; ++fd) close(fd);
    const ChildReport report = RunInChild([](const Reporter& reporter) {
      reporter.Send({'m', {"over the line"}});
      std::fprintf(stderr, "to standard error");
    });
    const bool good = report.messages.size() == 1 &&
                      report.messages[0].texts == Texts{"over the line"} &&
                      report.output == "to standard error";
    static_cast<void>(write(answer, good ? "y" : "n", 1) == 1);
  });
  close(verdict.write_end);
  char answer = '?';
  EXPECT_EQ(read(verdict.read_end, &answer, 1), 1);
  close(verdict.read_end);
  EXPECT_EQ(waitpid(host, nullptr, 0), host);
  EXPECT_EQ(answer, 'y');
}

// Deaf to all that can be ignored.
[[noreturn]] void Hang() {
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGALRM}) {
    static_cast<void>(std::signal(number, SIG_IGN));
  }
  for (;;) pause();
}

// --- A server for many children

TEST(ForkServer, GivesEachChildItsRequestAndWhatTheHostHad) {
  int seen = 0;
  ForkServer server([&](const std::string& request, const Reporter& reporter) {
    reporter.Send({'m', {request, std::to_string(++seen)}});
  });
  for (const std::string& request :
       {std::string(), std::string("a"), std::string(1U << 20, 'b')}) {
    ExpectOneMessage(server.Run(request), {request, "1"});
  }
}

TEST(ForkServer, WarmsUpOnceAfterAChildThatEndedWell) {
  int warm = 0;
  ForkServer server(
      [&](const std::string& request, const Reporter& reporter) {
        reporter.Send({'m', {std::to_string(warm)}});
        if (request == "fail") _exit(1);
      },
      [&] { ++warm; });
  const char* const requests[] = {"fail", "", "", "fail", ""};
  const char* const expected[] = {"0", "0", "1", "1", "1"};
  for (std::size_t i = 0; i < std::size(requests); ++i) {
    ExpectOneMessage(server.Run(requests[i]), {expected[i]});
  }
}

TEST(ForkServer, IsReplacedWhenItWasKilledOrHangs) {
  ForkServer server(
      [](const std::string& request, const Reporter& reporter) {
        reporter.Send({'m', {request}});
        if (request == "kill") kill(getppid(), SIGKILL);
      },
      [] { Hang(); });
  const TimeLimit limit(1000);
  EXPECT_EQ(server.Run("kill", limit).wait_status, SIGKILL);
  ExpectOneMessage(server.Run("good", limit), {"good"});
  EXPECT_EQ(server.Run("hangs before", limit).wait_status, SIGKILL);
  ExpectOneMessage(server.Run("good", limit), {"good"});
}

// --- Limits

TEST(ChildLimit, LeavesAChildInTimeAlone) {
  for (const TimeLimit limit : {TimeLimit(60000), ipav::base::kNoTimeLimit}) {
    const ChildReport report =
        RunInChild([](const Reporter&) { usleep(300000); }, limit);
    EXPECT_EQ(report.stopped, Stopped::kNot);
    EXPECT_EQ(report.wait_status, 0);
  }
}

// Processor time of this process and of all that it waited for.
std::chrono::microseconds ProcessorTime() {
  std::chrono::microseconds sum{0};
  for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage{};
    getrusage(who, &usage);
    for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
      sum += std::chrono::seconds(time.tv_sec) +
             std::chrono::microseconds(time.tv_usec);
    }
  }
  return sum;
}

TEST(ChildLimit, KillsItWhenItsTimeIsOverAndWaitsWithoutWork) {
  const std::chrono::microseconds before = ProcessorTime();
  const auto start = std::chrono::steady_clock::now();
  const ChildReport report = RunInChild(
      [](const Reporter& reporter) {
        reporter.Send({'m', {"last words"}});
        Hang();
      },
      TimeLimit(2000));
  const auto passed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(passed, std::chrono::seconds(2));
  EXPECT_LT(passed, std::chrono::seconds(20));
  EXPECT_LT(ProcessorTime() - before, std::chrono::milliseconds(500));
  EXPECT_EQ(report.stopped, Stopped::kTimeLimit);
  EXPECT_EQ(report.wait_status, SIGKILL);
  ExpectOneMessage(report, {"last words"});
}

TEST(ChildLimit, StopsOneThatPrintsForEver) {
  const std::string line(1 << 16, 'x');
  const ChildReport report = RunInChild([&](const Reporter&) {
    for (;;) std::puts(line.c_str());
  });
  EXPECT_EQ(report.stopped, Stopped::kOutputLimit);
  EXPECT_EQ(report.output.size(), kMaxOutput);
  EXPECT_EQ(report.output.rfind(line + "\n" + line, 0), 0U);
}

TEST(ChildLimit, StopsOneThatSendsForEver) {
  const std::string text(1 << 20, 'x');
  const ChildReport report = RunInChild([&](const Reporter& reporter) {
    for (;;) reporter.Send({'m', {text}});
  });
  EXPECT_EQ(report.stopped, Stopped::kOutputLimit);
  // The last one was cut off.
  EXPECT_EQ(report.messages.size(), (kMaxMessages >> 20) - 1);
}

// --- Nothing is left

// Every process that holds the write end has ended: what the pipe tells, also
// of those whose number nobody knows.
testing::AssertionResult AllHoldersGone(const Line& line) {
  close(line.write_end);
  pollfd entry{line.read_end, POLLIN, 0};
  char byte = 0;
  for (;;) {
    if (poll(&entry, 1, 10000) == 0) {
      return testing::AssertionFailure() << "a process is left";
    }
    if (read(line.read_end, &byte, 1) == 0) break;
  }
  close(line.read_end);
  return testing::AssertionSuccess();
}

bool IsAlive(pid_t process) { return kill(process, 0) == 0; }

// In a child: two processes of its own that go on for ever, one of them outside
// of its process group. Returns when both have sent their numbers.
void SpawnTwo(const Reporter& reporter) {
  const Line sent = MakeLine();
  for (const bool leaves_group : {false, true}) {
    if (fork() != 0) continue;
    if (leaves_group) setsid();
    if (leaves_group && fork() != 0) _exit(0);
    reporter.Send({'p', {std::to_string(getpid())}});
    static_cast<void>(write(sent.write_end, "x", 1) == 1);
    Hang();
  }
  char byte = 0;
  for (int i = 0; i < 2; ++i) {
    static_cast<void>(read(sent.read_end, &byte, 1) == 1);
  }
}

TEST(ChildOfChild, EndsWithTheChildHoweverItEnds) {
  for (void (*end)() : {+[] {}, +[] { std::abort(); }, +[] { Hang(); }}) {
    const ChildReport report = RunInChild(
        [&](const Reporter& reporter) {
          SpawnTwo(reporter);
          end();
        },
        TimeLimit(2000));
    ASSERT_EQ(report.messages.size(), 2U);
    for (const Message& message : report.messages) {
      EXPECT_FALSE(IsAlive(std::stoi(message.texts.at(0))));
    }
  }
}

TEST(Child, HasNothingToReadAndTakesNothingFromItsParent) {
  const Line line = MakeLine();
  ASSERT_EQ(write(line.write_end, "ab", 2), 2);
  const int before = dup(STDIN_FILENO);
  dup2(line.read_end, STDIN_FILENO);
  const ChildReport report = RunInChild([](const Reporter& reporter) {
    char byte = 0;
    reporter.Send({'m', {std::to_string(read(STDIN_FILENO, &byte, 1))}});
  });
  char byte = 0;
  EXPECT_EQ(read(STDIN_FILENO, &byte, 1), 1);
  EXPECT_EQ(byte, 'a');
  dup2(before, STDIN_FILENO);
  for (const int fd : {before, line.read_end, line.write_end}) close(fd);
  ExpectOneMessage(report, {"0"});
}

TEST(Child, HearsTheSignalsThatItsParentHears) {
  ExpectOneMessage(RunInChild([](const Reporter& reporter) {
                     sigset_t mask;
                     sigprocmask(SIG_BLOCK, nullptr, &mask);
                     const bool blocked = sigismember(&mask, SIGCHLD) == 1;
                     reporter.Send({'m', {blocked ? "deaf" : "hears"}});
                   }),
                   {"hears"});
}

TEST(Child, IsReportedAlsoIfTheHostIgnoresItsChildren) {
  const pid_t host = ForkHost([] {
    static_cast<void>(std::signal(SIGCHLD, SIG_IGN));
    const int status =
        RunInChild([](const Reporter&) { _exit(7); }).wait_status;
    _exit(status == W_EXITCODE(7, 0) ? 0 : 1);
  });
  int status = -1;
  EXPECT_EQ(waitpid(host, &status, 0), host);
  EXPECT_EQ(status, 0);
}

TEST(Child, ThatKillsItsParentIsReportedAndEnds) {
  const Line line = MakeLine();
  const ChildReport report = RunInChild([&](const Reporter&) {
    kill(getppid(), SIGKILL);
    Hang();
  });
  EXPECT_EQ(report.wait_status, SIGKILL);
  EXPECT_TRUE(AllHoldersGone(line));
}

TEST(Child, AndAllThatItMadeEndWithAHostThatIsKilled) {
  for (const int number : {SIGKILL, SIGTERM, SIGINT, SIGSEGV}) {
    SCOPED_TRACE(strsignal(number));
    const Line line = MakeLine();
    const pid_t host = ForkHost([&] {
      RunInChild([&](const Reporter& reporter) {
        SpawnTwo(reporter);
        static_cast<void>(write(line.write_end, "x", 1) == 1);
        Hang();
      });
    });
    char byte = 0;
    ASSERT_EQ(read(line.read_end, &byte, 1), 1);
    kill(host, number);
    ASSERT_EQ(waitpid(host, nullptr, 0), host);
    EXPECT_TRUE(AllHoldersGone(line));
  }
}

TEST(Child, EndsWithAHostThatIsKilledAtAnyMoment) {
  for (int i = 0; i < 100; ++i) {
    const Line line = MakeLine();
    const pid_t host =
        ForkHost([] { RunInChild([](const Reporter&) { Hang(); }); });
    usleep(static_cast<useconds_t>(i) * 50);
    kill(host, SIGKILL);
    ASSERT_EQ(waitpid(host, nullptr, 0), host);
    ASSERT_TRUE(AllHoldersGone(line)) << i;
  }
}

}  // namespace
