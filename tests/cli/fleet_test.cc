// Many devices in one run, and one run in many parts.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "tests/cli/devices_fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using nlohmann::json;
using std::chrono::seconds;

using FleetTest = DevicesTest;

std::string FailedLines(const std::string& file, const std::string& reason) {
  return file +
         ": not judged, the plug-in failed (0 of 1 validation calls made)\n"
         "the plug-in failed: " +
         reason + "\n";
}

std::string DeedLines(const std::string& deed) {
  return "  validation point: " + deed + "\n  data path: /top/" + deed + "\n";
}

std::string NothingLine(const std::string& file) {
  return file + ": accepted (0 of 0 validation calls made)\n";
}

// Candidates in the order of a JSON report.
std::vector<std::string> CandidatesOf(const std::string& report) {
  std::vector<std::string> candidates;
  const json parsed = json::parse(report);
  for (const json& device : parsed.at("devices")) {
    candidates.push_back(device.at("candidate"));
  }
  return candidates;
}

// --- Which devices

TEST_F(FleetTest,
       AFolderWithACandidateIsADeviceWithItsOwnRunningConfiguration) {
  const std::string shared = WriteAccepted("shared.xml");
  WriteRefused("fleet/a/candidate.xml");
  WriteRefused("fleet/a/running.xml");  // the same: nothing to judge
  WriteRefused("fleet/b/candidate.xml");
  WriteRefused("fleet/b/notes.xml");  // beside a candidate it is nothing
  const std::string fleet = in() + "/fleet";
  const ProgramResult result = Ipav({"check", "--running", shared, fleet});
  EXPECT_EQ(result.out, NothingLine(fleet + "/a/candidate.xml") +
                            RefusedLines(fleet + "/b/candidate.xml", 1, 2,
                                         "changed", "unchanged") +
                            "2 devices: 1 accepted, 1 refused, 0 bad input, "
                            "0 failed\n");
  EXPECT_EQ(result.status, 1);
  const json report = json::parse(
      Ipav({"check", "--running", shared, "--format", "json", fleet}).out);
  EXPECT_EQ(report.at("devices").at(0).at("running"), fleet + "/a/running.xml");
  EXPECT_EQ(report.at("devices").at(1).at("running"), shared);
}

TEST_F(FleetTest, FilesAndFoldersAreTakenInTheOrderOfTheirNames) {
  for (const char* name :
       {"fleet/c.xml", "fleet/a/z.xml", "fleet/B.xml", "fleet/b/candidate.json",
        "fleet/a/y/x.json", "fleet/readme.md", "fleet/.git/x.xml",
        "fleet/.hidden.xml", "fleet/empty/none.txt"}) {
    Write(name, "{}");
  }
  const std::string fleet = in() + "/fleet";
  const std::string last = Write("a.xml", "{}");
  const std::vector<std::string> expected = {
      fleet + "/B.xml",   fleet + "/a/y/x.json",
      fleet + "/a/z.xml", fleet + "/b/candidate.json",
      fleet + "/c.xml",   last};
  EXPECT_EQ(CandidatesOf(Ipav({"check", "--format", "json", fleet, last}).out),
            expected);
}

TEST_F(FleetTest, LinksInACircleAreFollowedOnce) {
  const std::string device = WriteAccepted("fleet/a/x.xml");
  const std::string fleet = in() + "/fleet";
  fs::create_directory_symlink("..", fleet + "/a/up");
  fs::create_directory_symlink(".", fleet + "/self");
  fs::create_directory_symlink("a", fleet + "/same");
  EXPECT_EQ(CandidatesOf(Ipav({"check", "--format", "json", fleet}).out),
            std::vector<std::string>({device}));
}

TEST_F(FleetTest, ALinkToNothingAndAFolderWithTwoCandidatesAreBadInput) {
  const std::string fleet = in() + "/fleet";
  WriteAccepted("fleet/a/candidate.json");
  WriteAccepted("fleet/a/candidate.xml");
  fs::create_symlink("none", fleet + "/b.xml");
  const std::string good = WriteAccepted("fleet/c.xml");
  const ProgramResult result = Ipav({"check", fleet});
  EXPECT_EQ(result.out,
            fleet + "/a/candidate.json: not judged, bad input\n  " + fleet +
                "/a: holds candidate.xml and candidate.json\n" + fleet +
                "/b.xml: not judged, bad input\n  " + fleet +
                "/b.xml: No such file or directory\n" + AcceptedLine(good) +
                "3 devices: 1 accepted, 0 refused, 2 bad input, 0 failed\n");
  EXPECT_EQ(result.status, 2);
}

TEST_F(FleetTest, AFolderThatCannotBeReadIsBadInput) {
  WriteAccepted("fleet/a/x.xml");
  const std::string good = WriteAccepted("fleet/b.xml");
  const std::string locked = in() + "/fleet/a";
  fs::permissions(locked, fs::perms::none);
  obeys_permissions_ = true;
  const ProgramResult result = Ipav({"check", in() + "/fleet"});
  fs::permissions(locked, fs::perms::owner_all);
  EXPECT_EQ(result.out, locked + ": not judged, bad input\n  " + locked +
                            ": Permission denied\n" + AcceptedLine(good) +
                            "2 devices: 1 accepted, 0 refused, 1 bad input, "
                            "0 failed\n");
}

// --- One result among the others

TEST_F(FleetTest, ResultsComeInOrderWhileSlowOnesRunTogether) {
  std::string expected;
  for (int i = 0; i < 12; ++i) {
    const std::string name = "fleet/" + std::to_string(10 + i) + ".xml";
    const bool hangs = i % 3 == 0;
    const std::string file = WriteDeed(name, hangs ? "hang" : "nothing");
    expected += hangs ? FailedLines(file, "did not answer within 2 seconds") +
                            DeedLines("hang")
                      : NothingLine(file);
  }
  const auto start = Clock::now();
  const ProgramResult result =
      Ipav(Wild({"-j", "8", "--timeout", "2", in() + "/fleet"}));
  EXPECT_LT(Clock::now() - start, seconds(7));  // one by one: 8
  EXPECT_EQ(
      result.out,
      expected + "12 devices: 8 accepted, 0 refused, 0 bad input, 4 failed\n");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(AwaitProcesses(0), 0U);
}

TEST_F(FleetTest, NoMoreDevicesThanAskedForAreJudgedAtATime) {
  for (const char* name : {"a", "b", "c", "d", "e"}) {
    WriteDeed("fleet/" + std::string(name) + ".xml", "hang");
  }
  Program program = Start(Wild({"-j", "3", in() + "/fleet"}));
  // The program, and of each device its process, its supervisor and the
  // plug-in.
  EXPECT_EQ(AwaitProcesses(10), 10U);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(DeviceProcesses().size(), 3U);
}

TEST_F(FleetTest, ADeviceWhoseProcessIsKilledIsOneResult) {
  const std::string first = WriteDeed("fleet/a.xml", "nothing");
  const std::string killed = WriteDeed("fleet/b.xml", "spawn-and-hang");
  const std::string last = WriteDeed("fleet/c.xml", "nothing");
  Program program = Start(Wild({"-j", "1", in() + "/fleet"}));
  ASSERT_EQ(AwaitProcesses(6), 6U);  // with two that the plug-in made
  const std::vector<pid_t> processes = DeviceProcesses();
  ASSERT_EQ(processes.size(), 1U);
  kill(processes.front(), SIGKILL);
  const ProgramResult result = program.Wait();
  EXPECT_EQ(result.out,
            NothingLine(first) + killed +
                ": not judged, the plug-in failed (0 of 0 validation calls "
                "made)\nthe plug-in failed: the device's process gave no "
                "report, killed by signal: Killed\n" +
                NothingLine(last) +
                "3 devices: 2 accepted, 0 refused, 0 bad input, 1 failed\n");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(AwaitProcesses(0), 0U);
}

TEST_F(FleetTest, ADeviceWhoseProcessStandsStillIsGivenUp) {
  const std::string file = WriteDeed("fleet/a.xml", "hang");
  Program program = Start(Wild({"--timeout", "1", in() + "/fleet"}));
  ASSERT_EQ(AwaitProcesses(4), 4U);
  kill(DeviceProcesses().at(0), SIGSTOP);
  const ProgramResult result = program.Wait();
  EXPECT_NE(result.out.find("no report, it took several times its time limit"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(AwaitProcesses(0), 0U);
}

TEST_F(FleetTest, ACrashAndAnInputThatNeverEndsAreResultsAmongTheOthers) {
  const std::string crash = WriteDeed("fleet/a.xml", "spawn-and-crash");
  const std::string pipe = in() + "/fleet/b.xml";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string good = WriteDeed("fleet/c.xml", "nothing");
  const ProgramResult result =
      Ipav(Wild({"-j", "2", "--timeout", "1", in() + "/fleet"}));
  EXPECT_EQ(result.out,
            FailedLines(crash, "killed by signal: Aborted") +
                DeedLines("spawn-and-crash") + pipe +
                ": not judged, bad input\n  " + pipe +
                ": not read within 1 second\n" + NothingLine(good) +
                "3 devices: 1 accepted, 0 refused, 1 bad input, 1 failed\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(AwaitProcesses(0), 0U);
}

TEST_F(FleetTest, ACallerThatIgnoresTheEndOfItsChildrenChangesNothing) {
  const std::string file = WriteAccepted("fleet/a.xml");
  Program program({"/bin/bash", "-c", "trap '' CHLD; exec \"$@\"", "bash",
                   IPAV_PROGRAM, "check", in() + "/fleet"},
                  folder_ / "output");
  const ProgramResult result = program.Wait();
  EXPECT_EQ(result.out,
            AcceptedLine(file) +
                "1 device: 1 accepted, 0 refused, 0 bad input, 0 failed\n");
  EXPECT_EQ(result.status, 0);
}

TEST_F(FleetTest, MoreDevicesAtATimeThanThereAreFilesForAreJudgedLater) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "UBSan opens a pipe to look at an object";
#endif
  std::string expected;
  for (int i = 0; i < 30; ++i) {
    const std::string name = "fleet/" + std::to_string(10 + i) + ".xml";
    expected += NothingLine(WriteDeed(name, "nothing"));
  }
  std::vector<std::string> command = {
      "/bin/sh", "-c", "ulimit -n 40; exec \"$@\"", "sh", IPAV_PROGRAM};
  const auto check = Wild({"-j", "30", in() + "/fleet"});
  command.insert(command.end(), check.begin(), check.end());
  const ProgramResult result = Program(command, folder_ / "output").Wait();
  EXPECT_EQ(
      result.out,
      expected + "30 devices: 30 accepted, 0 refused, 0 bad input, 0 failed\n");
}

TEST_F(FleetTest, ARunningConfigurationOfADeviceThatIsBadIsBadInputOfIt) {
  const std::string candidate = WriteAccepted("fleet/a/candidate.xml");
  const std::string bad = WriteBad("fleet/a/running.xml");
  EXPECT_EQ(Ipav({"check", in() + "/fleet"}).out,
            candidate + ": not judged, bad input\n  " + bad +
                ":1: neither XML nor JSON\n"
                "1 device: 0 accepted, 0 refused, 1 bad input, 0 failed\n");
}

TEST_F(FleetTest, ARunningConfigurationOfAllThatIsBadEndsTheRun) {
  WriteAccepted("fleet/a.xml");
  WriteAccepted("fleet/b.xml");
  const std::string bad = WriteBad("running.xml");
  const ProgramResult result = Ipav({"check", "--running", bad, in()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "ipav: " + bad + ":1: neither XML nor JSON\n");
}

TEST_F(FleetTest, AFileThatIsNoPlugInEndsTheRunOnce) {
  WriteAccepted("fleet/a.xml");
  WriteAccepted("fleet/b.xml");
  const std::string plugin = Write("text.so", "no library\n");
  for (const char* format : {"text", "json", "sarif", "junit"}) {
    const ProgramResult result = Ipav(
        {"check", "--plugin", plugin, "--format", format, in() + "/fleet"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("ipav: " + plugin + ": ", 0), 0U);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// With a sanitizer, its own memory would be measured.
TEST_F(FleetTest, MemoryDoesNotGrowWithTheNumberOfDevices) {
  const auto peak = [&](int devices) {
    const std::string folder = std::to_string(devices);
    for (int i = 0; i < devices; ++i) {
      WriteRefused(folder + "/" + std::to_string(i) + ".xml");
    }
    const ProgramResult result =
        Ipav({"check", "--format", "json", in() + "/" + folder});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(json::parse(result.out).at("devices").size(),
              static_cast<std::size_t>(devices));
    return result.peak_memory;
  };
  const std::size_t few = peak(20);
  EXPECT_LT(peak(200), few + (std::size_t{1} << 20));
}

#endif

// --- Its end

class FleetKilled : public DevicesTest,
                    public ::testing::WithParamInterface<int> {};

TEST_P(FleetKilled, ByASignalLeavesNoProcess) {
  for (const char* name : {"a", "b", "c", "d"}) {
    WriteDeed("fleet/" + std::string(name) + ".xml", "spawn-and-hang");
  }
  for (const bool to_job : {false, true}) {
    Program program = Start(Wild({"-j", "4", in() + "/fleet"}));
    // Of each device its process, its supervisor, the plug-in and two of its
    // own.
    ASSERT_EQ(AwaitProcesses(21), 21U);
    if (to_job) {
      program.SignalGroup(GetParam());  // as a terminal does
    } else {
      program.Signal(GetParam());
    }
    EXPECT_EQ(program.Wait().signal, GetParam());
    EXPECT_EQ(AwaitProcesses(0), 0U);
  }
}

INSTANTIATE_TEST_SUITE_P(Signals, FleetKilled,
                         ::testing::Values(SIGINT, SIGTERM, SIGKILL, SIGHUP));

TEST_F(FleetTest, KilledWhileItWritesAFileLeavesNone) {
  WriteDeed("fleet/a.xml", "hang");
  const std::string output = Write("report.json", "old\n");
  Program program =
      Start(Wild({"--format", "json", "--output", output, in() + "/fleet"}));
  ASSERT_EQ(AwaitProcesses(4), 4U);
  program.Signal(SIGTERM);
  EXPECT_EQ(program.Wait().signal, SIGTERM);
  EXPECT_EQ(ReadFile(output), "old\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(in()), {}), 2);
}

// --- What is shown

TEST_F(FleetTest, FailedOnlyListsNoAcceptedDeviceAndCountsIt) {
  WriteAccepted("fleet/a.xml");
  const std::string refused = WriteRefused("fleet/b.xml");
  WriteAccepted("fleet/c.xml");
  const std::string fleet = in() + "/fleet";
  const ProgramResult result = Ipav({"check", "--failed-only", fleet});
  EXPECT_EQ(result.out, RefusedLines(refused) +
                            "3 devices: 2 accepted, 1 refused, 0 bad input, "
                            "0 failed\n");
  const std::string report =
      Ipav({"check", "--failed-only", "--format", "json", fleet}).out;
  EXPECT_EQ(CandidatesOf(report), std::vector<std::string>({refused}));
  EXPECT_EQ(json::parse(report).at("summary").at("accepted"), 2);
}

// What a run prints to a terminal.
std::string OnTerminal(const std::string& command, const std::string& folder) {
  Program program({"/usr/bin/script", "-qec", command, "/dev/null"}, folder);
  return program.Wait().out;
}

TEST_F(FleetTest, ATerminalSeesProgressUnlessQuiet) {
  for (const char* name : {"a", "b", "c"}) {
    WriteDeed("fleet/" + std::string(name) + ".xml", "hang");
  }
  std::string command = IPAV_PROGRAM;
  for (const std::string& argument :
       Wild({"-j", "2", "--timeout", "1", in() + "/fleet"})) {
    command += " " + argument;
  }
  const std::string output = folder_ / "output";
  const std::string shown = OnTerminal(command, output);
  EXPECT_NE(shown.find("\r\x1b[K0 of 3 devices, 0 refused"), std::string::npos)
      << shown;
  EXPECT_NE(shown.find("\r\x1b[K2 of 3 devices, 0 refused, 2 not judged, "),
            std::string::npos)
      << shown;
  EXPECT_NE(shown.find(" per second, "), std::string::npos);
  EXPECT_EQ(OnTerminal(command + " --quiet", output).find("of 3 devices"),
            std::string::npos);
  const std::string errors_elsewhere = command + " 2>/dev/null";
  EXPECT_EQ(OnTerminal(errors_elsewhere, output).find("of 3 devices"),
            std::string::npos);
}

// --- Parts of a fleet

class ShardTest : public DevicesTest {
 protected:
  void SetUp() override {
    DevicesTest::SetUp();
    for (int i = 0; i < 10; ++i) {
      const std::string name = "fleet/" + std::to_string(10 + i);
      if (i % 4 == 3) {
        WriteRefused(name + ".xml");
      } else if (i == 5) {
        WriteBad(name + ".xml");
      } else {
        WriteAccepted(name + "/candidate.xml");
      }
    }
  }

  std::vector<std::string> Check(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"check", in() + "/fleet"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  // The JSON report of one part, in a file.
  std::string Part(int number, int of,
                   const std::vector<std::string>& more = {}) const {
    std::string file =
        folder_ / (std::to_string(number) + "-" + std::to_string(of) + ".json");
    std::vector<std::string> arguments =
        Check({"--format", "json", "--output", file, "--shard",
               std::to_string(number) + "/" + std::to_string(of)});
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProgramResult result = Ipav(arguments);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_LE(result.status, 2);
    return file;
  }
};

TEST_F(ShardTest, PartsHaveEachDeviceOnce) {
  const std::vector<std::string> all =
      CandidatesOf(Ipav(Check({"--format", "json"})).out);
  ASSERT_EQ(all.size(), 10U);
  for (const int of : {1, 2, 3, 7, 10, 13}) {
    std::vector<std::string> together;
    for (int number = 1; number <= of; ++number) {
      const auto part = CandidatesOf(ReadFile(Part(number, of)));
      EXPECT_LE(part.size(), static_cast<std::size_t>(10 / of + 1));
      together.insert(together.end(), part.begin(), part.end());
    }
    std::sort(together.begin(), together.end());
    std::vector<std::string> expected = all;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(together, expected) << of;
  }
}

TEST_F(ShardTest, APartTellsWhichItIs) {
  EXPECT_NE(Ipav(Check({"--shard", "2/3"}))
                .out.find("shard 2 of 3 of 10 devices, 3 devices: "),
            std::string::npos);
}

TEST_F(ShardTest, AnEmptyPartIsAccepted) {
  const ProgramResult result = Ipav(Check({"--shard", "11/11"}));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "shard 11 of 11 of 10 devices, 0 devices: 0 accepted, 0 refused, "
            "0 bad input, 0 failed\n");
}

TEST_F(ShardTest, APartThatIsNoneIsAnErrorOfTheCommandLine) {
  for (const char* shard : {"0/3", "4/3", "1", "1/", "/2", "a/b", "-1/2",
                            "1/2/3", "1.5/2", "1/0"}) {
    const ProgramResult result = Ipav(Check({"--shard", shard}));
    EXPECT_EQ(result.status, 2) << shard;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "ipav: --shard: " + std::string(shard) +
                  " is not I/N, 1/N to N/N (see ipav check --help)\n");
  }
}

TEST_F(ShardTest, SummarizedPartsAreTheReportOfOneRunInEveryFormat) {
  for (const bool failed_only : {false, true}) {
    const std::vector<std::string> more =
        failed_only ? std::vector<std::string>{"--failed-only"}
                    : std::vector<std::string>{};
    // Not in their order.
    const std::vector<std::string> parts = {Part(3, 3, more), Part(1, 3, more),
                                            Part(2, 3, more)};
    for (const char* format : {"text", "json", "sarif", "junit"}) {
      SCOPED_TRACE(format);
      std::vector<std::string> check = Check({"--format", format});
      check.insert(check.end(), more.begin(), more.end());
      std::vector<std::string> summarize = {"summarize", "--format", format};
      summarize.insert(summarize.end(), parts.begin(), parts.end());
      const ProgramResult one = Ipav(check);
      const ProgramResult together = Ipav(summarize);
      EXPECT_EQ(together.out, one.out);
      EXPECT_EQ(together.err, "");
      EXPECT_EQ(together.status, 2);
      EXPECT_EQ(one.status, 2);
    }
  }
}

TEST_F(ShardTest, AMissingPartIsToldAndIsNoAcceptance) {
  const std::string first = Part(1, 4);  // accepted all
  const ProgramResult result = Ipav({"summarize", first, Part(3, 4)});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "ipav: shard 2 of 4 is missing\nipav: shard 4 of 4 is missing\n");
  EXPECT_NE(result.out.find("\n5 devices: "), std::string::npos) << result.out;
}

TEST_F(ShardTest, APartThatIsThereTwiceIsToldAndCountedOnce) {
  const std::string first = Part(1, 2);
  const std::string again = folder_ / "again.json";
  fs::copy(first, again);
  const ProgramResult result =
      Ipav({"summarize", first, again, Part(2, 2), "--failed-only"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "ipav: shard 1 of 2 is in " + first + " and in " + again + "\n");
  EXPECT_NE(result.out.find("10 devices: 7 accepted, 2 refused, 1 bad input"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(result.out.find(": accepted ("), std::string::npos);
}

TEST_F(ShardTest, PartsOfDifferentRunsAreNotMixed) {
  const std::string half = Part(1, 2);
  const std::string third = Part(2, 3);
  const ProgramResult result = Ipav({"summarize", half, third});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "ipav: " + third + ": is of another run than " + half +
                            "\nipav: shard 2 of 2 is missing\n");
}

TEST_F(ShardTest, AResultThatIsCutOffOrNoneIsNamedAndTheOthersCount) {
  const std::string good = Part(1, 1);
  const std::string text = ReadFile(good);
  const std::string cut = folder_ / "cut.json";
  std::ofstream(cut) << text.substr(0, text.size() / 2);
  const std::string other = Write("other.json", "{\"devices\": []}");
  const std::string none = folder_ / "none.json";
  const ProgramResult result =
      Ipav({"summarize", cut, good, other, none, "--format", "json"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(json::parse(result.out).at("summary").at("devices"), 10);
  EXPECT_EQ(result.err.rfind("ipav: " + cut + ": no whole report of ipav: ", 0),
            0U)
      << result.err;
  EXPECT_NE(result.err.find("\nipav: " + other + ": no whole report of ipav: "),
            std::string::npos);
  EXPECT_NE(
      result.err.find("\nipav: " + none + ": No such file or directory\n"),
      std::string::npos);
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 3);
}

TEST_F(ShardTest, AResultWhoseSummaryLiesIsNamed) {
  const std::string file = Part(1, 1);
  json report = json::parse(ReadFile(file));
  report["summary"]["refused"] = 0;
  std::ofstream(file) << report;
  const ProgramResult result = Ipav({"summarize", file});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "ipav: " + file + ": its summary is not that of its devices\n");
}

TEST_F(ShardTest, RunsWithoutShardsAreListedAsTheyCome) {
  std::vector<std::string> arguments = {"summarize", "--format", "json"};
  const std::vector<std::string> devices = {in() + "/fleet/13.xml",
                                            in() + "/fleet/10/candidate.xml"};
  for (const std::string& device : devices) {
    const std::string file = device + ".report";
    Ipav({"check", "--format", "json", "--output", file, device});
    arguments.push_back(file);
  }
  const ProgramResult result = Ipav(arguments);
  EXPECT_EQ(CandidatesOf(result.out), devices);
  EXPECT_EQ(json::parse(result.out).at("devices").at(1).at("number"), 2);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");

  arguments.push_back(arguments.back() + "2");
  fs::copy(arguments[3], arguments.back());
  EXPECT_EQ(Ipav(arguments).err, "ipav: " + devices[0] + " is in " +
                                     arguments[3] + " and in " +
                                     arguments.back() + "\n");
}

}  // namespace

}  // namespace ipav::testing
