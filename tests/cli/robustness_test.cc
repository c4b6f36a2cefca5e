// The command under stress: plug-ins that hang, crash or leave things behind,
// inputs that are huge, deep or no files at all, and its own violent end.
//
// IPAV_TEST_SIZE sets how many interfaces, addresses and levels the large
// inputs have (default: 100000).

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/program.h"
#include "tests/support/temp_dir.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// A sanitizer must not step in between a crash and who waits for it.
constexpr char kNoHandlers[] = "handle_segv=0:handle_sigbus=0";

constexpr std::size_t kMiB = 1 << 20;

// Sanitizers have memory of their own, so that a bound tells nothing there.
void ExpectPeakBelow(const ProgramResult& result, std::size_t bytes) {
  ::testing::Test::RecordProperty("peak_memory_mib",
                                  static_cast<int>(result.peak_memory / kMiB));
  if (!kSanitized) {
    EXPECT_LT(result.peak_memory, bytes);
  }
}

std::size_t LargeCount() {
  const char* size = std::getenv("IPAV_TEST_SIZE");
  return size == nullptr ? 100000 : std::stoul(size);
}

// How often a text stands in another.
std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos;
       at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string Repeat(const std::string& text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

constexpr const char* kDeeds[] = {"hang",
                                  "spin",
                                  "spawn-and-hang",
                                  "spawn-and-crash",
                                  "_exit",
                                  "overflow-stack",
                                  "leave-open",
                                  "warn",
                                  "warn-silently",
                                  "return-1",
                                  "refuse-at-length",
                                  "refuse-in-odd-bytes",
                                  "write-for-ever",
                                  "close-files",
                                  "kill-parent"};

// A model of one leaf for each deed of the test plug-in: a candidate that sets
// it has the plug-in do it. It also has nodes that hold any data.
std::string ModelText() {
  std::string text =
      "module m { yang-version 1.1; namespace \"urn:m\"; prefix m;\n"
      "import tailf-common { prefix tailf; }\n"
      "container top { list row { key k; leaf k { type string; } }\n"
      "anydata data; anyxml xml;\n";
  for (const std::string deed : kDeeds) {
    text += "leaf " + deed + " { type string; tailf:validate test_set " +
            "{ tailf:opaque " + deed + "; tailf:dependency \".\"; } }\n";
  }
  return text + "leaf nothing { type string; }\n} }\n";
}

// A folder of the test's own: inputs, a model, and a place for temporary files.
class Robustness : public FolderTest {
 protected:
  void SetUp() override {
    for (const char* part : {"in", "tmp", "yang", "output"}) {
      fs::create_directory(folder_ / part);
    }
    fs::copy(IPAV_YANG "/ipav-extensions.yang", folder_ / "yang");
    fs::copy(IPAV_YANG "/stubs", folder_ / "yang/stubs");
    std::ofstream(folder_ / "yang/m.yang") << ModelText();
  }

  std::string Write(const std::string& name, const std::string& text) const {
    return FolderTest::Write("in/" + name, text);
  }

  // A candidate of the small model.
  std::string Data(const std::string& name, const std::string& inner) const {
    return Write(name, "<top xmlns=\"urn:m\">" + inner + "</top>\n");
  }
  std::string DataThat(const std::string& deed) const {
    return Data(deed + ".xml", "<" + deed + ">x</" + deed + ">");
  }

  std::string mark() const { return folder_.filename(); }
  std::string started() const { return folder_ / "started"; }

  // What the program starts with. By its mark each of its processes is found.
  Surroundings TestSurroundings() const {
    return {{{"TMPDIR", folder_ / "tmp"},
             {"IPAV_TEST_MARK", mark()},
             {"IPAV_TEST_STARTED", started()},
             {"ASAN_OPTIONS", kNoHandlers},
             {"TSAN_OPTIONS", kNoHandlers}},
            folder_ / "tmp"};
  }

  Program Start(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), IPAV_PROGRAM);
    return {arguments, folder_ / "output", TestSurroundings()};
  }

  ProgramResult Check(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "check");
    return Start(arguments).Wait();
  }

  // The same over the small model, with one of the misbehaving plug-ins.
  std::vector<std::string> With(const std::string& plugin,
                                const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {
        "--yang", folder_ / "yang", "--plugin",
        IPAV_TEST_PLUGINS "/" + plugin + ".so"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
  Program StartWild(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = With("runs_wild", more);
    arguments.insert(arguments.begin(), "check");
    return Start(arguments);
  }
  ProgramResult CheckWild(const std::vector<std::string>& more) const {
    return StartWild(more).Wait();
  }

  // One line on standard error that begins so, and nothing else.
  static void ExpectBadInput(const ProgramResult& result,
                             const std::string& beginning) {
    EXPECT_EQ(result.status, 2) << result.signal;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(0, beginning.size()), beginning) << result.err;
    EXPECT_EQ(Count(result.err, "\n"), 1U) << result.err;
  }

  // How many processes of the program there are, as soon as `enough` says so,
  // or after a while.
  template <typename Enough>
  std::size_t CountProcesses(const Enough& enough) const {
    const auto deadline = Clock::now() + seconds(10);
    for (;;) {
      const std::size_t count = ProcessesWith("IPAV_TEST_MARK", mark()).size();
      if (enough(count) || Clock::now() > deadline) return count;
      std::this_thread::sleep_for(milliseconds(5));
    }
  }

  void ExpectNoProcess() const {
    EXPECT_EQ(CountProcesses([](std::size_t count) { return count == 0; }), 0U);
  }

  void WaitUntilStarted() const {
    const auto deadline = Clock::now() + seconds(30);
    while (!fs::exists(started()) && Clock::now() < deadline) {
      std::this_thread::sleep_for(milliseconds(5));
    }
    ASSERT_TRUE(fs::exists(started()));
  }

  void ExpectNoTemporaryFile() const {
    EXPECT_TRUE(fs::is_empty(folder_ / "tmp"));
  }
};

std::string Place(const std::string& deed) {
  return "  validation point: " + deed + "\n  data path: /top/" + deed + "\n";
}

std::string Failed(const std::string& file, const std::string& reason) {
  return file +
         ": not judged, the plug-in failed (0 of 1 validation calls made)\n"
         "the plug-in failed: " +
         reason + "\n";
}

// --- Time

TEST_F(Robustness, AHangingPointIsNamedAndTheNextCandidateIsJudged) {
  const std::string hangs = DataThat("hang");
  const std::string good = Data("good.xml", "");
  const auto start = Clock::now();
  const ProgramResult result = CheckWild({"--timeout", "1", hangs, good});
  EXPECT_LT(Clock::now() - start, seconds(20));
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out, Failed(hangs, "did not answer within 1 second") +
                            Place("hang") + good +
                            ": accepted (0 of 0 validation calls made)\n");
  EXPECT_EQ(result.err, "");
  ExpectNoProcess();
}

TEST_F(Robustness, AHangOutsideOfAPointIsNamed) {
  const std::string file = Data("good.xml", "<warn>x</warn>");
  ProgramResult result = Check(With("hangs_in_init", {"--timeout", "1", file}));
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out,
            Failed(file, "did not answer within 1 second, in lib_init"));
  result = Check(With("hangs_in_finish", {"--timeout", "2", file}));
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out,
            file +
                ": not judged, the plug-in failed (1 of 1 validation calls "
                "made)\nthe plug-in failed: did not answer within 2 seconds, "
                "in lib_finish\n");
}

TEST_F(Robustness, WithoutATimeLimitTheProgramWaits) {
  Program program = StartWild({"--timeout", "0", DataThat("hang")});
  WaitUntilStarted();
  std::this_thread::sleep_for(seconds(2));
  EXPECT_FALSE(ProcessesWith("IPAV_TEST_MARK", mark()).empty());
  program.Signal(SIGKILL);
  EXPECT_EQ(program.Wait().signal, SIGKILL);
  ExpectNoProcess();
}

TEST_F(Robustness, ALimitThatIsNoneIsAnErrorOfTheCommandLine) {
  const std::string file = Data("good.xml", "");
  for (const char* limit : {"-1", "1.5", "soon", "1000001", "nan"}) {
    ExpectBadInput(CheckWild({"--timeout", limit, file}), "ipav: --timeout: ");
  }
  for (const char* size : {"0", "-1", "2048", "all"}) {
    ExpectBadInput(CheckWild({"--max-input-size", size, file}),
                   "ipav: --max-input-size: ");
  }
}

// --- Its own end

class RobustnessKilled : public Robustness,
                         public ::testing::WithParamInterface<int> {};

TEST_P(RobustnessKilled, ByASignalItLeavesNoProcessNoFileAndItsInputs) {
  const std::string running = Data("running.xml", "");
  const std::string candidate = DataThat("spawn-and-hang");
  const std::string before = ReadFile(running) + ReadFile(candidate);
  Program program = StartWild({"--running", running, candidate});
  WaitUntilStarted();
  // The program, its supervisor, the plug-in, and two processes of its own.
  EXPECT_EQ(CountProcesses([](std::size_t count) { return count == 5; }), 5U);

  program.Signal(GetParam());
  const ProgramResult result = program.Wait();
  EXPECT_EQ(result.signal, GetParam());
  ExpectNoProcess();
  ExpectNoTemporaryFile();
  EXPECT_EQ(ReadFile(running) + ReadFile(candidate), before);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "in"), {}), 2);
}

INSTANTIATE_TEST_SUITE_P(Signals, RobustnessKilled,
                         ::testing::Values(SIGKILL, SIGTERM, SIGINT, SIGHUP,
                                           SIGSEGV));

TEST_F(Robustness, InterruptedAtItsTerminalItLeavesNoProcess) {
  for (const int number : {SIGINT, SIGQUIT, SIGKILL}) {
    Program program = StartWild({DataThat("spawn-and-hang")});
    WaitUntilStarted();
    program.SignalGroup(number);
    EXPECT_EQ(program.Wait().signal, number);
    ExpectNoProcess();
    fs::remove(started());
  }
}

TEST_F(Robustness, KilledAtAnyMomentItLeavesNoProcessAndNoFile) {
  const std::string file = DataThat("spawn-and-hang");
  for (int i = 0; i < 40; ++i) {
    Program program = StartWild({file});
    std::this_thread::sleep_for(milliseconds(i));
    program.Signal(SIGKILL);
    EXPECT_EQ(program.Wait().signal, SIGKILL);
    ExpectNoProcess();
  }
  ExpectNoTemporaryFile();
}

TEST_F(Robustness, AReportThatCannotBeWrittenIsNoAcceptance) {
  const std::string command = "exec \"$@\" > /dev/full";
  std::vector<std::string> arguments =
      With("runs_wild", {Data("good.xml", "")});
  arguments.insert(arguments.begin(),
                   {"/bin/sh", "-c", command, "sh", IPAV_PROGRAM, "check"});
  const ProgramResult result =
      Program(arguments, folder_ / "output", TestSurroundings()).Wait();
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "ipav: the report cannot be written\n");
}

// --- Plug-ins that misbehave

TEST_F(Robustness, TheEndOfAPluginIsReportedWithItsPlaceAndLeavesNoProcess) {
  const std::pair<const char*, const char*> cases[] = {
      {"_exit", "ended the process with status 0"},
      {"overflow-stack", "killed by signal: Segmentation fault"},
      {"spawn-and-crash", "killed by signal: Aborted"},
      // The files of its host, and its supervisor.
      {"close-files", "ended the process with status 0"},
      {"kill-parent", "killed by signal: Killed"}};
  for (const auto& [deed, reason] : cases) {
    const std::string file = DataThat(deed);
    const ProgramResult result = CheckWild({file});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, Failed(file, reason) + Place(deed));
    ExpectNoProcess();
    ExpectNoTemporaryFile();
  }
}

TEST_F(Robustness, WhatIsLeftOpenAndWarningsArePrintedAndNoRefusal) {
  const std::pair<std::string, std::string> cases[] = {
      {"<row><k>a</k></row><leave-open>x</leave-open>",
       "1 of 1 validation calls made)\n"
       "  warning: the plug-in left 2 cursors open\n"
       "  warning: the plug-in left 1 CDB session open\n"},
      {"<warn>x</warn><warn-silently>x</warn-silently>",
       "2 of 2 validation calls made)\n"
       "(accepted with a warning)\nthink again\n" +
           Place("warn") + "(accepted with a warning)\n(without a text)\n" +
           Place("warn-silently")}};
  for (const auto& [inner, expected] : cases) {
    const std::string file = Data("warns.xml", inner);
    const ProgramResult result = CheckWild({file});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, file + ": accepted (" + expected);
  }
}

// What is told of a text that the project's plug-in does not have.
constexpr char kUnknown[] =
    "  note: no text of docs/messages.md: the nodes concerned are not known\n";

TEST_F(Robustness, ARefusalIsPrintedByteForByte) {
  const std::pair<std::string, std::string> cases[] = {
      // A result that the interface does not know is named.
      {"return-1", "a number of its own\n" + Place("return-1") +
                       "  result: 1, taken for a refusal\n"},
      {"refuse-in-odd-bytes",
       "one\ntwo\r\n\n\ttab {} %s\x1b[31mred\x07\xff\xc3( \xed\xa0\x80\n" +
           Place("refuse-in-odd-bytes")},
      {"refuse-at-length",
       std::string(1000000, 'x') + "\n" + Place("refuse-at-length")}};
  for (const auto& [deed, expected] : cases) {
    const std::string file = DataThat(deed);
    const ProgramResult result = CheckWild({file});
    EXPECT_EQ(result.status, 1);
    // Not EXPECT_EQ, which would print a long text twice.
    EXPECT_TRUE(result.out == file +
                                  ": refused (1 of 1 validation calls made)\n" +
                                  expected + kUnknown)
        << result.out.substr(0, 1000);
  }
}

TEST_F(Robustness, APluginThatWritesForEverIsStopped) {
  const std::string file = DataThat("write-for-ever");
  const ProgramResult result = CheckWild({file});
  EXPECT_EQ(result.status, 3);
  const std::string expected =
      Failed(file, "wrote without end, and was stopped") +
      Place("write-for-ever") + "  the plug-in wrote: xxx";
  EXPECT_EQ(result.out.substr(0, expected.size()), expected);
  ExpectPeakBelow(result, 512 * kMiB);
}

// A copy of the plug-in that does nothing, damaged by `damage`.
std::string DamagedPlugin(const fs::path& folder,
                          const std::function<void(std::string*)>& damage) {
  std::string bytes = ReadFile(IPAV_TEST_PLUGINS "/runs_wild.so");
  damage(&bytes);
  const fs::path file = folder / "damaged.so";
  std::ofstream(file, std::ios::binary) << bytes;
  return file;
}

TEST_F(Robustness, APluginFileCutOffIsReported) {
  const std::string data = Data("good.xml", "");
  for (const unsigned size : {0U, 16U, 63U, 64U, 200U, 1000U, 4096U}) {
    SCOPED_TRACE(size);
    const std::string plugin = DamagedPlugin(
        folder_, [&](std::string* bytes) { bytes->resize(size); });
    const ProgramResult result =
        Check({"--yang", folder_ / "yang", "--plugin", plugin, data});
    if (result.status == 2) {
      ExpectBadInput(result, "ipav: " + plugin + ": ");
    } else {
      EXPECT_EQ(result.status, 3);
      EXPECT_TRUE(EndsWith(result.out, ", while it was loaded\n"))
          << result.out;
    }
  }
}

TEST_F(Robustness, APluginFileWithADamagedHeaderEndsInAReport) {
  const std::string data = Data("good.xml", "");
  for (std::size_t at = 0; at < 64; ++at) {
    SCOPED_TRACE(at);
    const std::string plugin = DamagedPlugin(folder_, [&](std::string* bytes) {
      bytes->at(at) = static_cast<char>(~bytes->at(at));
    });
    const ProgramResult result =
        Check({"--yang", folder_ / "yang", "--plugin", plugin, data});
    // Some bytes mean nothing to the loader.
    EXPECT_TRUE(result.status == 0 || result.status == 2 || result.status == 3)
        << result.signal;
    EXPECT_NE(result.out + result.err, "");
  }
}

// --- Large inputs

// Configurations are written to files at once, never held whole: what this
// process holds counts for the program that it starts.
class LargeInput {
 public:
  explicit LargeInput(const std::string& file) : stream_(file) {
    stream_ << "<config xmlns=\"urn:vorplex:config\"><interface>\n";
  }
  ~LargeInput() { stream_ << "</interface></config>\n"; }
  LargeInput(const LargeInput&) = delete;
  LargeInput& operator=(const LargeInput&) = delete;

  std::ofstream& stream() { return stream_; }

 private:
  std::ofstream stream_;
};

// A.B.C.1/24, a subnet for each number.
std::string SubnetAddress(std::size_t number) {
  return std::to_string(11 + number / 65536 % 100) + "." +
         std::to_string(number / 256 % 256) + "." +
         std::to_string(number % 256) + ".1/24";
}

std::string Timers(int lifetime) {
  return "<ipv6><nd><ra><max-interval>200</max-interval>"
         "<min-interval>150</min-interval><lifetime>" +
         std::to_string(lifetime) + "</lifetime></ra></nd></ipv6>";
}

// Interfaces of an address each; the first with router advertisements.
void WriteInterfaces(const std::string& file, std::size_t count, int lifetime) {
  LargeInput input(file);
  for (std::size_t i = 0; i < count; ++i) {
    input.stream() << "<l3 xmlns=\"urn:vorplex:ipapp\"><name>l" << i
                   << "</name><description>Subscriber " << i
                   << "</description><ipv4><address><ip>" << SubnetAddress(i)
                   << "</ip></address></ipv4>"
                   << (i == 0 ? Timers(lifetime) : "") << "</l3>\n";
  }
}

// One interface with that many addresses.
void WriteAddresses(const std::string& file, std::size_t count, int lifetime) {
  LargeInput input(file);
  input.stream() << "<l3 xmlns=\"urn:vorplex:ipapp\"><name>l0</name><ipv4>"
                    "<address><ip>10.0.0.1/24</ip>\n";
  for (std::size_t i = 0; i < count; ++i) {
    input.stream() << "<secondary><ip>" << SubnetAddress(i)
                   << "</ip></secondary>\n";
  }
  input.stream() << "</address></ipv4>" << Timers(lifetime) << "</l3>\n";
}

using WriteLarge = void (*)(const std::string&, std::size_t, int);

class RobustnessLarge : public Robustness,
                        public ::testing::WithParamInterface<WriteLarge> {};

TEST_P(RobustnessLarge, ConfigurationWithASmallChangeIsJudged) {
  const std::string running = folder_ / "in/running.xml";
  const std::string candidate = folder_ / "in/candidate.xml";
  GetParam()(running, LargeCount(), 1800);
  GetParam()(candidate, LargeCount(), 1900);
  const ProgramResult result = Check({"--max-input-size", "2047", "--timeout",
                                      "600", "--running", running, candidate});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            candidate + ": accepted (2 of 2 validation calls made)\n");
  // Two trees of some 1.5 KiB for each entry.
  ExpectPeakBelow(result, 64 * kMiB + LargeCount() * 6144);
}

TEST_P(RobustnessLarge, ConfigurationThatIsNewEndsInAnAnswerOrInItsTimeLimit) {
  const std::string file = folder_ / "in/candidate.xml";
  GetParam()(file, LargeCount(), 1800);
  // Each of its rules takes the square of the interfaces or addresses.
  const ProgramResult result = Check({"--max-input-size", "2047", "--timeout",
                                      kSanitized ? "60" : "20", file});
  if (result.status == 3) {
    EXPECT_NE(result.out.find("\nthe plug-in failed: did not answer within "),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("\n  data path: /config/interface/l3"),
              std::string::npos)
        << result.out;
  } else if (result.status == 2) {
    ExpectBadInput(result, "ipav: " + file + ": not read within ");
  } else {
    EXPECT_LE(result.status, 1) << result.err;
    EXPECT_EQ(result.out.substr(0, file.size() + 2), file + ": ");
  }
  ExpectPeakBelow(result, 64 * kMiB + LargeCount() * 6144);
}

INSTANTIATE_TEST_SUITE_P(Lists, RobustnessLarge,
                         ::testing::Values(WriteInterfaces, WriteAddresses));

TEST_F(Robustness, ALongLineIsReadInBoundedMemory) {
  constexpr std::size_t kLength = 32 * kMiB;
  const std::string file = folder_ / "in/long.xml";
  {
    LargeInput input(file);
    input.stream() << "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>"
                      "<description>";
    const std::string block(kMiB, 'x');
    for (std::size_t size = 0; size < kLength; size += block.size()) {
      input.stream() << block;
    }
    input.stream() << "</description></l3>";
  }
  const ProgramResult result = Check({file});
  EXPECT_EQ(result.status, 0) << result.err;
  ExpectPeakBelow(result, 4 * kLength);
}

TEST_F(Robustness, AFileAboveTheLimitIsRefusedBeforeItIsRead) {
  // A line of a terabyte, which takes no room on the disk.
  const std::string file = Write("huge.xml", "<config>");
  fs::resize_file(file, std::uintmax_t{1} << 40);
  const auto start = Clock::now();
  const ProgramResult result = Check({file});
  EXPECT_LT(Clock::now() - start, seconds(5));
  ExpectBadInput(result, "ipav: " + file +
                             ": is larger than the limit of 67108864 bytes\n");
  ExpectPeakBelow(result, 64 * kMiB);
}

TEST_F(Robustness, TheSizeLimitIsAnOption) {
  const std::string file = Data("large.xml", std::string(2 * kMiB, ' '));
  ExpectBadInput(
      CheckWild({"--max-input-size", "2", file}),
      "ipav: " + file + ": is larger than the limit of 2097152 bytes\n");
  EXPECT_EQ(CheckWild({"--max-input-size", "3", file}).status, 0);
}

TEST_F(Robustness, ADeviceWithoutEndIsRefusedInBoundedMemory) {
  const ProgramResult result = Check({"/dev/zero"});
  ExpectBadInput(
      result, "ipav: /dev/zero: is larger than the limit of 67108864 bytes\n");
  ExpectPeakBelow(result, 256 * kMiB);
}

// --- Deep inputs

TEST_F(Robustness, DeepXmlIsRefused) {
  const std::size_t depth = LargeCount();
  const std::string l3 =
      "<config xmlns=\"urn:vorplex:config\"><interface>"
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>";
  for (const std::string& text :
       {Repeat("<a>", depth) + Repeat("</a>", depth),
        "<config xmlns=\"urn:vorplex:config\">" + Repeat("<interface>", depth),
        l3 + Repeat("<ipv4>", depth), l3 + Repeat("<vrf>", depth),
        l3 + "<a xmlns='urn:x'>" + Repeat("<a>", depth)}) {
    const std::string file = Write("deep.xml", text);
    ExpectBadInput(Check({file}), "ipav: " + file + ":1: ");
  }
}

TEST_F(Robustness, DeepJsonAndDeepDataOfAnyKindAreRefused) {
  const std::size_t depth = LargeCount();
  const std::string arrays = Repeat("[", depth) + Repeat("]", depth);
  const std::string objects =
      Repeat("{\"a\":", depth) + "1" + Repeat("}", depth);
  const std::string config = "{\"vorplex-config:config\":";
  const std::string l3 = config + "{\"interface\":{\"ipapp:l3\":";
  for (const std::string& text :
       {arrays, objects, config + arrays + "}", config + objects + "}",
        l3 + arrays + "}}}", l3 + "[{\"name\":" + arrays + "}]}}}",
        l3 + "[{\"name\":\"a\",\"@vrf\":" + objects + "}]}}}",
        "{\"@\":" + arrays + "}", Repeat("[", depth),
        Repeat("{\"a\":[", depth)}) {
    const std::string file = Write("deep.json", text);
    ExpectBadInput(Check({file}), "ipav: " + file + ":");
  }
  const std::string elements =
      Repeat("<a>", depth) + "1" + Repeat("</a>", depth);
  for (const std::string& file :
       {Data("data.xml", "<data>" + elements + "</data>"),
        Data("xml.xml", "<xml>" + elements + "</xml>"),
        Write("data.json", "{\"m:top\":{\"data\":" + objects + "}}")}) {
    ExpectBadInput(CheckWild({file}), "ipav: " + file + ": ");
  }
}

TEST_F(Robustness, ArraysInArraysAreRefusedBeforeTheYangLibrarySeesThem) {
  for (const std::size_t depth :
       {std::size_t{3}, std::size_t{10}, LargeCount()}) {
    const std::string file =
        Write("arrays.json", "{\"m:top\":{\"xml\":" + Repeat("[", depth) +
                                 Repeat("]", depth) + "}}");
    ExpectBadInput(CheckWild({file}),
                   "ipav: " + file +
                       ": JSON arrays are nested deeper than YANG data are\n");
  }
  const std::string file =
      Write("object.json", "{\"m:top\":{\"xml\":[{\"m:a\":[{\"m:b\":[1]}]}]}}");
  EXPECT_EQ(CheckWild({file}).status, 0);
}

TEST_F(Robustness, AnInputThatTakesTheYangLibraryTooLongIsGivenUp) {
  const std::string file = folder_ / "in/namespaces.xml";
  {
    std::ofstream stream(file);
    stream << "<top xmlns=\"urn:m\"";
    for (std::size_t i = 0; i < 400000; ++i) {
      stream << " xmlns:a" << i << "=\"x\"";
    }
    stream << "/>";
  }
  const auto start = Clock::now();
  const ProgramResult result = CheckWild({"--timeout", "1", file});
  EXPECT_LT(Clock::now() - start, seconds(20));
  ExpectBadInput(result, "ipav: " + file + ": not read within 1 second\n");
}

// --- What is no configuration file

TEST_F(Robustness, APipeWithoutAWriterIsGivenUp) {
  const std::string pipe = folder_ / "in/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const auto start = Clock::now();
  const ProgramResult result = Check({"--timeout", "1", pipe});
  EXPECT_GE(Clock::now() - start, seconds(1));
  EXPECT_LT(Clock::now() - start, seconds(20));
  ExpectBadInput(result, "ipav: " + pipe + ": not read within 1 second\n");
}

TEST_F(Robustness, APipeWithAWriterIsRead) {
  const std::string pipe = folder_ / "in/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] {
    std::this_thread::sleep_for(milliseconds(100));
    std::ofstream(pipe) << "<top xmlns=\"urn:m\"/>";
  });
  const ProgramResult result = CheckWild({pipe});
  writer.join();
  EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(Robustness, WhatIsNoConfigurationIsNamedWithTheReason) {
  const std::string folder = folder_ / "in";
  ExpectBadInput(Check({folder}),
                 "ipav: " + folder + ": holds no configuration\n");
  ExpectBadInput(Check({"--running", folder, "/dev/null"}),
                 "ipav: " + folder + ": is a directory, not a file\n");
  const std::string utf16 =
      Write("utf16.xml", std::string("\xff\xfe<\0t\0o\0p\0/\0>\0", 14));
  const std::string latin1 = Data("latin1.xml", "<nothing>\xe9</nothing>");
  const std::string bomb =
      Write("bomb.xml",  // entities are not expanded
            "<!DOCTYPE b [<!ENTITY a \"xxxx\"><!ENTITY b \"&a;&a;\">]>\n"
            "<config xmlns=\"urn:vorplex:config\">&b;</config>\n");
  const std::pair<std::string, std::string> cases[] = {
      {"/dev/null", ": is empty\n"},
      {"/proc/self/mem", ": Input/output error\n"},
      {"/dev/stdin/x", ": "},
      {utf16, ":1: "},
      {"/bin/sh", ":1: "},
      {bomb, ":1: "}};
  for (const auto& [file, reason] : cases) {
    ExpectBadInput(Check({file}), "ipav: " + file + reason);
  }
  ExpectBadInput(CheckWild({latin1}), "ipav: " + latin1 + ":1: is not UTF-8\n");
}

TEST_F(Robustness, AFileThatMayNotBeReadIsNamedWithTheReason) {
  const std::string file = Data("secret.xml", "");
  fs::permissions(file, fs::perms::none);
  Surroundings surroundings = TestSurroundings();
  surroundings.obeys_permissions = true;
  const ProgramResult result =
      Program({IPAV_PROGRAM, "check", file}, folder_ / "output", surroundings)
          .Wait();
  ExpectBadInput(result, "ipav: " + file + ": Permission denied\n");
}

}  // namespace

}  // namespace ipav::testing
