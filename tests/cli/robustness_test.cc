// The command under stress: plug-ins that hang, crash or leave things behind,
// inputs that are huge, deep or not files at all, and signals to the command.
//
// IPAV_TEST_SIZE sets how many interfaces, addresses and levels the large
// inputs have (default: 100000).

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

#include "tests/cli/devices_fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

#ifdef IPAV_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

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

std::string Repeat(const std::string& text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

class Robustness : public DevicesTest {
 protected:
  // A candidate with one deed.
  std::string Deed(const std::string& deed) const {
    return WriteDeed(deed + ".xml", deed);
  }
  std::string Good() const { return WriteData("good.xml", ""); }

  ProgramResult Check(const Words& arguments) const {
    return Ipav(Joined({"check"}, arguments));
  }
  ProgramResult CheckWild(const Words& more) const { return Ipav(Wild(more)); }

  void WaitUntilStarted() const {
    const auto deadline = Clock::now() + seconds(30);
    while (!fs::exists(started()) && Clock::now() < deadline) {
      std::this_thread::sleep_for(milliseconds(5));
    }
    ASSERT_TRUE(fs::exists(started()));
  }

  // The bytes of the files of a folder by their names.
  static std::map<std::string, std::string> FilesIn(const fs::path& folder) {
    std::map<std::string, std::string> files;
    if (!fs::exists(folder)) return files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      files[entry.path().filename()] = ReadFile(entry.path());
    }
    return files;
  }

  void ExpectNothingLeft() const {
    ExpectNoProcess();
    EXPECT_TRUE(fs::is_empty(folder_ / "tmp"));
  }
};

// --- Time

TEST_F(Robustness, AHangingPointIsNamedAndTheNextCandidateIsJudged) {
  const std::string hangs = Deed("hang");
  const auto start = Clock::now();
  EXPECT_EQ(
      CheckWild({"--timeout", "2", hangs, Good()}),
      (ProcessResult{3,
                     FailedLines(hangs, "did not answer within 2 seconds") +
                         DeedLines("hang") + NothingLine(Good()),
                     ""}));
  EXPECT_LT(Clock::now() - start, seconds(20));
  ExpectNoProcess();
}

TEST_F(Robustness, WithoutATimeLimitTheProgramWaits) {
  Program program = Start(Wild({"--timeout", "0", Deed("hang")}));
  WaitUntilStarted();
  std::this_thread::sleep_for(seconds(2));
  EXPECT_FALSE(ProcessesWith("IPAV_TEST_MARK", mark()).empty());
  program.Signal(SIGKILL);
  EXPECT_EQ(program.Wait().signal, SIGKILL);
  ExpectNoProcess();
}

TEST_F(Robustness, ALimitOutOfRangeIsAnErrorOfTheCommandLine) {
  for (const char* limit : {"-1", "1.5", "soon", "1000001", "nan"}) {
    EXPECT_THAT(CheckWild({"--timeout", limit, Good()}),
                IsBadInput("--timeout: "));
  }
  for (const char* size : {"0", "-1", "2048", "all"}) {
    EXPECT_THAT(CheckWild({"--max-input-size", size, Good()}),
                IsBadInput("--max-input-size: "));
  }
}

// --- Signals to the command

class RobustnessKilled : public Robustness,
                         public ::testing::WithParamInterface<int> {};

TEST_P(RobustnessKilled, ByASignalItLeavesNoProcessNoFileAndItsInputs) {
  const std::string running = WriteData("running.xml", "");
  const std::string candidate = Deed("spawn-and-hang");
  const std::string before = ReadFile(running) + ReadFile(candidate);
  Program program = Start(Wild({"--running", running, candidate}));
  WaitUntilStarted();
  // The program, its supervisor, the plug-in, and two processes of its own.
  EXPECT_EQ(AwaitProcesses(5), 5U);

  program.Signal(GetParam());
  EXPECT_EQ(program.Wait().signal, GetParam());
  ExpectNothingLeft();
  EXPECT_EQ(ReadFile(running) + ReadFile(candidate), before);
  EXPECT_EQ(std::distance(fs::directory_iterator(in()), {}), 2);
}

INSTANTIATE_TEST_SUITE_P(Signals, RobustnessKilled,
                         ::testing::Values(SIGKILL, SIGTERM, SIGINT, SIGHUP,
                                           SIGSEGV));

TEST_F(Robustness, InterruptedAtItsTerminalItLeavesNoProcess) {
  for (const int number : {SIGINT, SIGQUIT, SIGKILL}) {
    Program program = Start(Wild({Deed("spawn-and-hang")}));
    WaitUntilStarted();
    program.SignalGroup(number);
    EXPECT_EQ(program.Wait().signal, number);
    ExpectNoProcess();
    fs::remove(started());
  }
}

TEST_F(Robustness, KilledAtAnyMomentItLeavesNoProcessAndNoFile) {
  const std::string file = Deed("spawn-and-hang");
  for (int i = 0; i < 40; ++i) {
    Program program = Start(Wild({file}));
    std::this_thread::sleep_for(milliseconds(i));
    program.Signal(SIGKILL);
    EXPECT_EQ(program.Wait().signal, SIGKILL);
    ExpectNothingLeft();
  }
}

// Each file that a killed command was to write is whole: as before, or new.
TEST_F(Robustness, KilledAtAnyMomentItWritesFilesWholeOrNotAtAll) {
  const std::string refused = ReadFile(kBranch + "address-is-network.xml");
  const std::string file = Write("router.xml", refused);
  const Words fix = {"fix",       "--suggested", "--write",
                     "--running", kRunning,      file};
  ASSERT_EQ(Ipav(fix).status, 0);
  const std::string corrected = ReadFile(file);
  ASSERT_NE(corrected, refused);
  const std::string steps = in() + "/steps";
  const Words plan = {
      "plan",     "--running",
      kRunning,   kBranch + "floor-4-vlan-changed-with-ospfv3.xml",
      "--output", steps};
  ASSERT_EQ(Ipav(plan).status, 0);
  const std::map<std::string, std::string> whole = FilesIn(steps);
  ASSERT_FALSE(whole.empty());

  constexpr int kMoments = 25;
  for (int i = 0; i < kMoments; ++i) {
    SCOPED_TRACE(i);
    Write("router.xml", refused);
    fs::remove_all(steps);
    Program fixing = Start(fix);
    Program planning = Start(plan);
    std::this_thread::sleep_for(milliseconds(4 * i));
    fixing.Signal(SIGKILL);
    planning.Signal(SIGKILL);
    fixing.Wait();
    planning.Wait();
    ExpectNothingLeft();
    EXPECT_THAT(ReadFile(file), ::testing::AnyOf(refused, corrected));
    for (const auto& [name, bytes] : FilesIn(steps)) {
      // A file's name may still have a process number behind it.
      if (name.rfind("plan.json", 0) == 0) {  // names its seconds
        EXPECT_TRUE(nlohmann::json::accept(bytes)) << bytes;
      } else {
        EXPECT_EQ(bytes, whole.at(name.substr(0, name.rfind("xml") + 3)));
      }
    }
  }
}

TEST_F(Robustness, AReportThatCannotBeWrittenIsNotAnAcceptance) {
  const Words command = {"/bin/sh", "-c", "exec \"$@\" > /dev/full", "sh",
                         IPAV_PROGRAM};
  EXPECT_EQ(Run(Joined(command, Wild({Good()}))).Wait(),
            (ProcessResult{2, "", "ipav: the report cannot be written\n"}));
}

// --- Plug-ins that misbehave

TEST_F(Robustness, TheEndOfAPluginIsReportedWithItsPlaceAndLeavesNoProcess) {
  const std::pair<const char*, const char*> cases[] = {
      {"_exit", "ended the process with status 0"},
      {"overflow-stack", "killed by signal: Segmentation fault"},
      {"spawn-and-crash", "killed by signal: Aborted"},
      // It closes the files of its host, and kills its supervisor.
      {"close-files", "ended the process with status 0"},
      {"kill-parent", "killed by signal: Killed"}};
  for (const auto& [deed, reason] : cases) {
    const std::string file = Deed(deed);
    const ProgramResult result = CheckWild({file});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, FailedLines(file, reason) + DeedLines(deed));
    ExpectNothingLeft();
  }
}

// The note on a text that the project's plug-in does not have.
constexpr char kUnknown[] =
    "  note: no text of docs/messages.md: the nodes concerned are not known\n";

TEST_F(Robustness, WarningsAndTextsArePrintedByteForByte) {
  const std::string begin = ": refused (1 of 1 validation calls made)\n";
  const struct {
    std::string inner;
    int status;
    std::string expected;
  } cases[] = {
      {"<row><k>a</k></row><leave-open>x</leave-open>", 0,
       ": accepted (1 of 1 validation calls made)\n"
       "  warning: the plug-in left 2 cursors open\n"
       "  warning: the plug-in left 1 CDB session open\n"},
      {"<warn>x</warn><warn-silently>x</warn-silently>", 0,
       ": accepted (2 of 2 validation calls made)\n"
       "(accepted with a warning)\nthink again\n" +
           DeedLines("warn") + "(accepted with a warning)\n(without a text)\n" +
           DeedLines("warn-silently")},
      // A result that the interface does not know is named.
      {"<return-1>x</return-1>", 1,
       begin + "a number of its own\n" + DeedLines("return-1") +
           "  result: 1, taken for a refusal\n" + kUnknown},
      {"<refuse-in-odd-bytes>x</refuse-in-odd-bytes>", 1,
       begin +
           "one\ntwo\r\n\n\ttab {} %s\x1b[31mred\x07\xff\xc3( \xed\xa0\x80\n" +
           DeedLines("refuse-in-odd-bytes") + kUnknown},
      {"<refuse-at-length>x</refuse-at-length>", 1,
       begin + std::string(1000000, 'x') + "\n" +
           DeedLines("refuse-at-length") + kUnknown}};
  for (const auto& [inner, status, expected] : cases) {
    const std::string file = WriteData("data.xml", inner);
    const ProgramResult result = CheckWild({file});
    EXPECT_EQ(result.status, status);
    // Not EXPECT_EQ, which would print a long text twice.
    EXPECT_TRUE(result.out == file + expected) << result.out.substr(0, 1000);
  }
}

TEST_F(Robustness, APluginThatWritesForEverIsStopped) {
  const std::string file = Deed("write-for-ever");
  const ProgramResult result = CheckWild({file});
  EXPECT_EQ(result.status, 3);
  const std::string expected =
      FailedLines(file, "wrote without end, and was stopped") +
      DeedLines("write-for-ever") + "  the plug-in wrote: xxx";
  EXPECT_EQ(result.out.substr(0, expected.size()), expected);
  ExpectPeakBelow(result, 512 * kMiB);
}

class RobustnessDamaged : public Robustness {
 protected:
  // The result with a copy of the plug-in, damaged by `damage`.
  ProgramResult CheckDamaged(
      const std::function<void(std::string*)>& damage) const {
    std::string bytes = ReadFile(IPAV_TEST_PLUGINS "/obeys_opaque.so");
    damage(&bytes);
    std::ofstream(plugin_, std::ios::binary) << bytes;
    return Check({"--yang", folder_ / "yang", "--plugin", plugin_, Good()});
  }

  const std::string plugin_ = folder_ / "damaged.so";
};

TEST_F(RobustnessDamaged, APluginFileCutOffIsReported) {
  for (const unsigned size : {0U, 16U, 63U, 64U, 200U, 1000U, 4096U}) {
    SCOPED_TRACE(size);
    const ProgramResult result =
        CheckDamaged([&](std::string* bytes) { bytes->resize(size); });
    if (result.status == 3) {
      EXPECT_THAT(result.out, EndsWith(", while it was loaded\n"));
    } else {
      EXPECT_THAT(result, IsBadInput(plugin_ + ": "));
    }
  }
}

TEST_F(RobustnessDamaged, APluginFileWithADamagedHeaderEndsInAReport) {
  for (std::size_t at = 0; at < 64; ++at) {
    SCOPED_TRACE(at);
    const ProgramResult result = CheckDamaged([&](std::string* bytes) {
      bytes->at(at) = static_cast<char>(~bytes->at(at));
    });
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
  const std::string running = in() + "/running.xml";
  const std::string candidate = in() + "/candidate.xml";
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
  const std::string file = in() + "/candidate.xml";
  GetParam()(file, LargeCount(), 1800);
  // Each of its rules takes the square of the interfaces or addresses.
  const ProgramResult result =
      Check({"--max-input-size", "2047", "--timeout", "20", file});
  if (result.status == 3) {
    EXPECT_THAT(result.out,
                HasSubstr("\nthe plug-in failed: did not answer within "));
    EXPECT_THAT(result.out, HasSubstr("\n  data path: /config/interface/l3"));
  } else if (result.status == 2) {
    EXPECT_THAT(result, IsBadInput(file + ": not read within "));
  } else {
    EXPECT_LE(result.status, 1) << result.err;
    EXPECT_THAT(result.out, StartsWith(file + ": "));
  }
  ExpectPeakBelow(result, 64 * kMiB + LargeCount() * 6144);
}

INSTANTIATE_TEST_SUITE_P(Lists, RobustnessLarge,
                         ::testing::Values(WriteInterfaces, WriteAddresses));

TEST_F(Robustness, ALongLineIsReadInBoundedMemory) {
  constexpr std::size_t kLength = 32 * kMiB;
  const std::string file = in() + "/long.xml";
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
  EXPECT_LT(Clock::now() - start, seconds(20));
  EXPECT_THAT(result, IsBadInput(file + ": is larger than the limit of "
                                        "67108864 bytes\n"));
  ExpectPeakBelow(result, 64 * kMiB);
}

TEST_F(Robustness, ADeviceWithoutEndIsRefusedInBoundedMemory) {
  const ProgramResult result = Check({"/dev/zero"});
  EXPECT_THAT(
      result,
      IsBadInput("/dev/zero: is larger than the limit of 67108864 bytes\n"));
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
    EXPECT_THAT(Check({file}), IsBadInput(file + ":1:"));
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
    EXPECT_THAT(Check({file}), IsBadInput(file + ":"));
  }
  const std::string elements =
      Repeat("<a>", depth) + "1" + Repeat("</a>", depth);
  for (const std::string& file :
       {WriteData("data.xml", "<data>" + elements + "</data>"),
        WriteData("xml.xml", "<xml>" + elements + "</xml>"),
        Write("data.json", "{\"m:top\":{\"data\":" + objects + "}}")}) {
    EXPECT_THAT(CheckWild({file}), IsBadInput(file + ":1:"));
  }
}

TEST_F(Robustness, ArraysInArraysAreRefusedBeforeTheYangLibrarySeesThem) {
  for (const std::size_t depth :
       {std::size_t{3}, std::size_t{10}, LargeCount()}) {
    const std::string file =
        Write("arrays.json", "{\"m:top\":{\"xml\":" + Repeat("[", depth) +
                                 Repeat("]", depth) + "}}");
    EXPECT_THAT(
        CheckWild({file}),
        IsBadInput(
            file +
            ":1:19: JSON arrays are nested deeper than YANG data are\n"));
  }
  const std::string file =
      Write("object.json", "{\"m:top\":{\"xml\":[{\"m:a\":[{\"m:b\":[1]}]}]}}");
  EXPECT_EQ(CheckWild({file}).status, 0);
}

TEST_F(Robustness, AnInputThatTakesTheYangLibraryTooLongIsGivenUp) {
  const std::string file = in() + "/namespaces.xml";
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
  EXPECT_THAT(result, IsBadInput(file + ": not read within 1 second\n"));
}

// --- Files that are not configurations

TEST_F(Robustness, AFileThatIsNotAConfigurationIsNamedWithTheReason) {
  const std::string utf16 =
      Write("utf16.xml", std::string("\xff\xfe<\0t\0o\0p\0/\0>\0", 14));
  const std::string bomb =
      Write("bomb.xml",  // entities are not expanded
            "<!DOCTYPE b [<!ENTITY a \"xxxx\"><!ENTITY b \"&a;&a;\">]>\n"
            "<config xmlns=\"urn:vorplex:config\">&b;</config>\n");
  const std::string empty = folder_ / "tmp";
  const std::pair<std::string, std::string> cases[] = {
      {empty, ": holds no configuration\n"},
      {"/dev/null", ": is empty\n"},
      {"/proc/self/mem", ": Input/output error\n"},
      {"/dev/stdin/x", ": "},
      {utf16, ":1:1: "},
      {"/bin/sh", ":1:1: "},
      {bomb, ":1:1: "}};
  for (const auto& [file, reason] : cases) {
    EXPECT_THAT(Check({file}), IsBadInput(file + reason));
  }
  EXPECT_THAT(Check({"--running", empty, "/dev/null"}),
              IsBadInput(empty + ": is a directory, not a file\n"));
  const std::string latin1 = WriteData("latin1.xml", "<nothing>\xe9</nothing>");
  EXPECT_THAT(CheckWild({latin1}),
              IsBadInput(latin1 + ":1:29: is not UTF-8\n"));
}

TEST_F(Robustness, AFileThatMayNotBeReadIsNamedWithTheReason) {
  const std::string file = WriteData("secret.xml", "");
  fs::permissions(file, fs::perms::none);
  obeys_permissions_ = true;
  EXPECT_THAT(Check({file}), IsBadInput(file + ": Permission denied\n"));
}

}  // namespace

}  // namespace ipav::testing
