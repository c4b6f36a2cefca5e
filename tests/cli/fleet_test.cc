// Many devices in one run, and one run in many parts.

#include <sys/stat.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/cli/devices_fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// A fleet in a folder of its own.
class FleetTest : public DevicesTest {
 protected:
  void WriteDeeds(const Words& names, const std::string& deed) const {
    for (const std::string& name : names) {
      WriteDeed("fleet/" + name + ".xml", deed);
    }
  }

  ProgramResult Check(const Words& more = {}) const {
    return Ipav(Joined({"check", fleet_}, more));
  }

  const std::string fleet_ = in() + "/fleet";
};

// The last line of a report, of as many devices as there are results.
std::string Summary(int accepted, int refused, int bad, int failed) {
  const int devices = accepted + refused + bad + failed;
  return std::to_string(devices) + (devices == 1 ? " device: " : " devices: ") +
         std::to_string(accepted) + " accepted, " + std::to_string(refused) +
         " refused, " + std::to_string(bad) + " bad input, " +
         std::to_string(failed) + " failed\n";
}

std::string BadInputLines(const std::string& file, const std::string& error) {
  return file + ": not judged, bad input\n  " + error + "\n";
}

// Candidates in the order of a JSON report.
Words CandidatesOf(const std::string& report) {
  Words candidates;
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
  WriteRefused("fleet/b/notes.xml");  // ignored beside a candidate
  EXPECT_EQ(Check({"--running", shared}),
            (ProcessResult{1,
                           NothingLine(fleet_ + "/a/candidate.xml") +
                               RefusedLines(fleet_ + "/b/candidate.xml", 1, 2,
                                            "changed", "unchanged") +
                               Summary(1, 1, 0, 0),
                           ""}));
  const json report =
      json::parse(Check({"--running", shared, "--format", "json"}).out);
  EXPECT_EQ(report.at("devices").at(0).at("running"),
            fleet_ + "/a/running.xml");
  EXPECT_EQ(report.at("devices").at(1).at("running"), shared);
}

TEST_F(FleetTest, FilesAndFoldersAreTakenInTheOrderOfTheirNames) {
  for (const char* name :
       {"fleet/c.xml", "fleet/a/z.xml", "fleet/B.xml", "fleet/b/candidate.json",
        "fleet/a/y/x.json", "fleet/readme.md", "fleet/.git/x.xml",
        "fleet/.hidden.xml", "fleet/empty/none.txt"}) {
    Write(name, "{}");
  }
  const std::string last = Write("a.xml", "{}");
  EXPECT_EQ(
      CandidatesOf(Check({"--format", "json", last}).out),
      (Words{fleet_ + "/B.xml", fleet_ + "/a/y/x.json", fleet_ + "/a/z.xml",
             fleet_ + "/b/candidate.json", fleet_ + "/c.xml", last}));
}

TEST_F(FleetTest, LinksInACircleAreFollowedOnce) {
  const std::string device = WriteAccepted("fleet/a/x.xml");
  fs::create_directory_symlink("..", fleet_ + "/a/up");
  fs::create_directory_symlink(".", fleet_ + "/self");
  fs::create_directory_symlink("a", fleet_ + "/same");
  EXPECT_EQ(CandidatesOf(Check({"--format", "json"}).out), Words{device});
}

TEST_F(FleetTest, ALinkToNothingAndAFolderWithTwoCandidatesAreBadInput) {
  const std::string two = WriteAccepted("fleet/a/candidate.json");
  WriteAccepted("fleet/a/candidate.xml");
  const std::string link = fleet_ + "/b.xml";
  fs::create_symlink("none", link);
  const std::string good = WriteAccepted("fleet/c.xml");
  const ProgramResult result = Check();
  EXPECT_EQ(result.out,
            BadInputLines(two, fleet_ + "/a: holds candidate.xml and "
                                        "candidate.json") +
                BadInputLines(link, link + ": No such file or directory") +
                AcceptedLine(good) + Summary(1, 0, 2, 0));
  EXPECT_EQ(result.status, 2);
}

TEST_F(FleetTest, AFolderThatCannotBeReadIsBadInput) {
  WriteAccepted("fleet/a/x.xml");
  const std::string good = WriteAccepted("fleet/b.xml");
  const std::string locked = fleet_ + "/a";
  fs::permissions(locked, fs::perms::none);
  obeys_permissions_ = true;
  const ProgramResult result = Check();
  fs::permissions(locked, fs::perms::owner_all);
  EXPECT_EQ(result.out, BadInputLines(locked, locked + ": Permission denied") +
                            AcceptedLine(good) + Summary(1, 0, 1, 0));
}

// --- One result among the others

TEST_F(FleetTest, ResultsComeInOrder) {
  std::string expected;
  for (int i = 0; i < 12; ++i) {
    const std::string name = "fleet/" + std::to_string(10 + i) + ".xml";
    const bool hangs = i % 3 == 0;
    const std::string file = WriteDeed(name, hangs ? "hang" : "nothing");
    expected += hangs ? FailedLines(file, "did not answer within 4 seconds") +
                            DeedLines("hang")
                      : NothingLine(file);
  }
  EXPECT_EQ(Ipav(Wild({"-j", "8", "--timeout", "4", fleet_})),
            (ProcessResult{3, expected + Summary(8, 0, 0, 4), ""}));
  ExpectNoProcess();
}

TEST_F(FleetTest, NoMoreDevicesThanAskedForAreJudgedAtATime) {
  WriteDeeds({"a", "b", "c", "d", "e"}, "hang");
  Program program = Start(Wild({"-j", "3", fleet_}));
  // The program, and for each device its process, its supervisor and the
  // plug-in.
  EXPECT_EQ(AwaitProcesses(10), 10U);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(DeviceProcesses().size(), 3U);
}

TEST_F(FleetTest, ADeviceWhoseProcessIsKilledIsOneResult) {
  const std::string first = WriteDeed("fleet/a.xml", "nothing");
  const std::string killed = WriteDeed("fleet/b.xml", "spawn-and-hang");
  const std::string last = WriteDeed("fleet/c.xml", "nothing");
  Program program = Start(Wild({"-j", "1", fleet_}));
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
                NothingLine(last) + Summary(2, 0, 0, 1));
  EXPECT_EQ(result.status, 3);
  ExpectNoProcess();
}

TEST_F(FleetTest, ADeviceWhoseProcessStandsStillIsGivenUp) {
  WriteDeeds({"a"}, "hang");
  Program program = Start(Wild({"--timeout", "2", fleet_}));
  ASSERT_EQ(AwaitProcesses(4), 4U);
  kill(DeviceProcesses().at(0), SIGSTOP);
  const ProgramResult result = program.Wait();
  EXPECT_THAT(result.out,
              HasSubstr("no report, it took several times its time limit"));
  EXPECT_EQ(result.status, 3);
  ExpectNoProcess();
}

TEST_F(FleetTest, ACrashAndAnInputThatNeverEndsAreResultsAmongTheOthers) {
  const std::string crash = WriteDeed("fleet/a.xml", "spawn-and-crash");
  const std::string pipe = fleet_ + "/b.xml";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string good = WriteDeed("fleet/c.xml", "nothing");
  EXPECT_EQ(Ipav(Wild({"-j", "2", "--timeout", "2", fleet_})),
            (ProcessResult{
                3,
                FailedLines(crash, "killed by signal: Aborted") +
                    DeedLines("spawn-and-crash") +
                    BadInputLines(pipe, pipe + ": not read within 2 seconds") +
                    NothingLine(good) + Summary(1, 0, 1, 1),
                ""}));
  ExpectNoProcess();
}

TEST_F(FleetTest, ACallerThatIgnoresTheEndOfItsChildrenChangesNothing) {
  const std::string file = WriteAccepted("fleet/a.xml");
  EXPECT_EQ(Shell("trap '' CHLD; exec " IPAV_PROGRAM " check " + fleet_),
            (ProcessResult{0, AcceptedLine(file) + Summary(1, 0, 0, 0), ""}));
}

TEST_F(FleetTest, MoreDevicesAtATimeThanThereAreFilesForAreJudgedLater) {
#ifdef IPAV_SANITIZED
  GTEST_SKIP() << "UBSan opens a pipe to look at an object";
#endif
  std::string expected;
  for (int i = 0; i < 30; ++i) {
    const std::string name = "fleet/" + std::to_string(10 + i) + ".xml";
    expected += NothingLine(WriteDeed(name, "nothing"));
  }
  const Words command = {"/bin/sh", "-c", "ulimit -n 40; exec \"$@\"", "sh",
                         IPAV_PROGRAM};
  EXPECT_EQ(Run(Joined(command, Wild({"-j", "30", fleet_}))).Wait().out,
            expected + Summary(30, 0, 0, 0));
}

TEST_F(FleetTest, AnErrorInTheProcessOfADeviceIsItsResult) {
#ifdef IPAV_SANITIZED
  GTEST_SKIP() << "UBSan opens a pipe to look at an object";
#endif
  const std::string file = WriteAccepted("fleet/a.xml");
  // Enough files for the program, too few for the processes of the plug-in;
  // which call fails depends on the files that are open already.
  const ProcessResult result =
      Shell("ulimit -n 10; exec " IPAV_PROGRAM " check " + fleet_);
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(
      result.out,
      StartsWith(file + ": not judged, the plug-in failed (0 of 0 validation "
                        "calls made)\nthe plug-in failed: "));
  EXPECT_THAT(result.out,
              EndsWith(": Too many open files\n" + Summary(0, 0, 0, 1)));
  EXPECT_EQ(result.err, "");
}

TEST_F(FleetTest, ABadRunningConfigurationOfADeviceIsBadInputOfIt) {
  const std::string candidate = WriteAccepted("fleet/a/candidate.xml");
  const std::string bad = WriteBad("fleet/a/running.xml");
  EXPECT_EQ(Check().out,
            BadInputLines(candidate, bad + ":1:1: neither XML nor JSON") +
                Summary(0, 0, 1, 0));
}

TEST_F(FleetTest, ABadRunningConfigurationOfAllOrABadPluginEndsTheRunOnce) {
  WriteAccepted("fleet/a.xml");
  WriteAccepted("fleet/b.xml");
  const std::string bad = WriteBad("bad");
  EXPECT_THAT(Check({"--running", bad}),
              IsBadInput(bad + ":1:1: neither XML nor JSON\n"));
  for (const char* format : kFormats) {
    EXPECT_THAT(Check({"--plugin", bad, "--format", format}),
                IsBadInput(bad + ": "));
  }
}

#ifndef IPAV_SANITIZED

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

// --- Signals to the command

class FleetKilled : public FleetTest,
                    public ::testing::WithParamInterface<int> {};

TEST_P(FleetKilled, ByASignalLeavesNoProcess) {
  WriteDeeds({"a", "b", "c", "d"}, "spawn-and-hang");
  for (const bool to_job : {false, true}) {
    Program program = Start(Wild({"-j", "4", fleet_}));
    // For each device its process, its supervisor, the plug-in and two of the
    // plug-in's own.
    ASSERT_EQ(AwaitProcesses(21), 21U);
    if (to_job) {
      program.SignalGroup(GetParam());  // as a terminal does
    } else {
      program.Signal(GetParam());
    }
    EXPECT_EQ(program.Wait().signal, GetParam());
    ExpectNoProcess();
  }
}

INSTANTIATE_TEST_SUITE_P(Signals, FleetKilled,
                         ::testing::Values(SIGINT, SIGTERM, SIGKILL, SIGHUP));

TEST_F(FleetTest, KilledWhileItWritesAFileLeavesNone) {
  WriteDeeds({"a"}, "hang");
  const std::string output = Write("report.json", "old\n");
  Program program =
      Start(Wild({"--format", "json", "--output", output, fleet_}));
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
  EXPECT_EQ(Check({"--failed-only"}).out,
            RefusedLines(refused) + Summary(2, 1, 0, 0));
  const std::string report = Check({"--failed-only", "--format", "json"}).out;
  EXPECT_EQ(CandidatesOf(report), Words{refused});
  EXPECT_EQ(json::parse(report).at("summary").at("accepted"), 2);
}

TEST_F(FleetTest, ATerminalSeesProgressUnlessQuiet) {
  WriteDeeds({"a", "b", "c"}, "hang");
  std::string command = IPAV_PROGRAM;
  for (const std::string& argument :
       Wild({"-j", "2", "--timeout", "1", fleet_})) {
    command += " " + argument;
  }
  const std::string shown = OnTerminal(command);
  for (const char* part :
       {"\r\x1b[K0 of 3 devices, 0 refused",
        "\r\x1b[K2 of 3 devices, 0 refused, 2 not judged, ", " per second, "}) {
    EXPECT_THAT(shown, HasSubstr(part));
  }
  for (const char* more : {" --quiet", " 2>/dev/null"}) {
    EXPECT_THAT(OnTerminal(command + more), Not(HasSubstr("of 3 devices")));
  }
}

// --- Parts of a fleet

class ShardTest : public FleetTest {
 protected:
  void SetUp() override {
    FleetTest::SetUp();
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

  // The JSON report of one part, in a file.
  std::string Part(int number, int of, const Words& more = {}) const {
    const std::string shard = std::to_string(number) + "/" + std::to_string(of);
    std::string file = folder_ / ("part-" + std::to_string(number) + "-" +
                                  std::to_string(of) + ".json");
    const ProgramResult result = Check(
        Joined({"--format", "json", "--output", file, "--shard", shard}, more));
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_LE(result.status, 2);
    return file;
  }
};

TEST_F(ShardTest, PartsHaveEachDeviceOnce) {
  const Words all = CandidatesOf(Check({"--format", "json"}).out);
  ASSERT_EQ(all.size(), 10U);
  for (const int of : {1, 2, 3, 7, 10, 13}) {
    Words together;
    for (int number = 1; number <= of; ++number) {
      const Words part = CandidatesOf(ReadFile(Part(number, of)));
      EXPECT_LE(part.size(), static_cast<std::size_t>(10 / of + 1));
      together = Joined(together, part);
    }
    EXPECT_THAT(together, ::testing::UnorderedElementsAreArray(all)) << of;
  }
}

TEST_F(ShardTest, AnEmptyPartIsAccepted) {
  EXPECT_EQ(
      Check({"--shard", "11/11"}),
      (ProcessResult{0, "shard 11 of 11 of 10 devices, " + Summary(0, 0, 0, 0),
                     ""}));
}

TEST_F(ShardTest, AnotherTextThanAPartIsAnErrorOfTheCommandLine) {
  for (const char* shard : {"0/3", "4/3", "1", "1/", "/2", "a/b", "-1/2",
                            "-4/-1", "1/2/3", "1.5/2", "1/0"}) {
    EXPECT_THAT(
        Check({"--shard", shard}),
        IsBadInput("--shard: " + std::string(shard) +
                   " is not I/N, 1/N to N/N (see ipav check --help)\n"));
  }
}

TEST_F(ShardTest, SummarizedPartsAreTheReportOfOneRunInEveryFormat) {
  for (const Words& more : {Words{}, Words{"--failed-only"}}) {
    // Not in their order.
    const Words parts = {Part(3, 3, more), Part(1, 3, more), Part(2, 3, more)};
    for (const char* format : kFormats) {
      SCOPED_TRACE(format);
      const ProgramResult one = Check(Joined({"--format", format}, more));
      const ProgramResult together =
          Ipav(Joined({"summarize", "--format", format}, parts));
      EXPECT_EQ(one.status, 2);
      EXPECT_EQ(together, (ProcessResult{2, one.out, ""}));
    }
  }
}

TEST_F(ShardTest, AMissingPartIsNamedAndIsNotAnAcceptance) {
  const std::string first = Part(1, 4);  // accepted all
  const ProgramResult result = Ipav({"summarize", first, Part(3, 4)});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "ipav: shard 2 of 4 is missing\nipav: shard 4 of 4 is missing\n");
  EXPECT_THAT(result.out, HasSubstr("\n5 devices: "));
}

TEST_F(ShardTest, APartThatIsThereTwiceIsNamedAndCountedOnce) {
  const std::string first = Part(1, 2);
  const std::string again = folder_ / "again.json";
  fs::copy(first, again);
  const ProgramResult result =
      Ipav({"summarize", first, again, Part(2, 2), "--failed-only"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "ipav: shard 1 of 2 is in " + first + " and in " + again + "\n");
  EXPECT_THAT(result.out, EndsWith(Summary(7, 2, 1, 0)));
  EXPECT_THAT(result.out, Not(HasSubstr(": accepted (")));
}

TEST_F(ShardTest, PartsOfDifferentRunsAreNotMixed) {
  const std::string half = Part(1, 2);
  const std::string third = Part(2, 3);
  const ProgramResult result = Ipav({"summarize", half, third});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "ipav: " + third + ": is of another run than " + half +
                            "\nipav: shard 2 of 2 is missing\n");
}

TEST_F(ShardTest, AResultThatCannotBeReadIsNamedAndTheOthersCount) {
  const std::string good = Part(1, 1);
  const std::string text = ReadFile(good);
  const std::string cut = Write("cut.json", text.substr(0, text.size() / 2));
  const std::string other = Write("other.json", "{\"devices\": []}");
  const std::string none = folder_ / "none.json";
  const ProgramResult result =
      Ipav({"summarize", cut, good, other, none, "--format", "json"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(json::parse(result.out).at("summary").at("devices"), 10);
  const std::string why = ": no whole report of ipav: ";
  EXPECT_THAT(result.err, StartsWith("ipav: " + cut + why));
  EXPECT_THAT(result.err, HasSubstr("\nipav: " + other + why));
  EXPECT_THAT(result.err,
              EndsWith("\nipav: " + none + ": No such file or directory\n"));
  EXPECT_EQ(CountOf("\n", result.err), 3U);
}

TEST_F(ShardTest, AResultWithAWrongSummaryIsNamed) {
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
  Words arguments = {"summarize", "--format", "json"};
  const Words devices = {fleet_ + "/13.xml", fleet_ + "/10/candidate.xml"};
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

// --- Every violation

TEST_F(FleetTest, EveryViolationIsInEveryFormatUpToALimit) {
  // The address of each interface overlaps with that of the other two.
  std::string interfaces;
  for (const std::string number : {"1", "2", "3"}) {
    interfaces += R"(<l3 xmlns="urn:vorplex:ipapp"><name>)" + number +
                  "</name><ipv4><address><ip>10.0.0." + number +
                  "/24</ip></address></ipv4></l3>";
  }
  interfaces.insert(0, R"(<config xmlns="urn:vorplex:config"><interface>)");
  Write("crowded.xml", interfaces + "</interface></config>");
  const auto check = [&](const Words& more) {
    return Ipav(Joined({"check", in()}, more));
  };
  const std::string limit = "there are more findings (--limit)";
  const std::string page = folder_ / "page.html";
  // The first pair, and the other two behind it.
  const ProgramResult all = check({"--every", "--report", page});
  EXPECT_EQ(all.status, 1);
  const std::string behind = "behind another finding of this point";
  EXPECT_EQ(CountOf(" overlaps with ", all.out), 3U);
  EXPECT_EQ(CountOf(behind, all.out), 2U);
  EXPECT_EQ(CountOf(limit, all.out), 0U);
  EXPECT_EQ(CountOf(behind, ReadFile(page)), 2U);
  EXPECT_EQ(CountOf(" overlaps with ", check({"--all"}).out), 1U);
  EXPECT_EQ(CountOf(limit, check({"--every", "--limit", "3"}).out), 0U);
  const ProgramResult limited =
      check({"--every", "--limit", "2", "--report", page});
  EXPECT_EQ(CountOf(" overlaps with ", limited.out), 2U);
  EXPECT_EQ(CountOf(limit, limited.out), 1U);
  EXPECT_EQ(CountOf(limit, ReadFile(page)), 1U);
  // The programs' formats.
  for (const auto& [format, mark, more] :
       {std::array<std::string, 3>{"json", "\"behind\":true", "moreFindings"},
        {"sarif", "\"behind\":true", "\"descriptor\":{\"id\":\"more-findings"},
        {"junit", behind, "name=\"more findings\""}}) {
    const std::string report =
        check({"--every", "--limit", "2", "--format", format}).out;
    EXPECT_EQ(CountOf(mark, report), 1U) << report;
    EXPECT_EQ(CountOf(more, report), 1U) << report;
  }
  // What cannot be combined.
  EXPECT_EQ(check({"--every", "--restore"}).status, 2);
  EXPECT_EQ(check({"--limit", "5"}).status, 2);
}

// --- After a restart

TEST_F(FleetTest, OnlyANewFaultAfterARestartRefuses) {
  // A fault that stands, one that the change heals, and no running
  // configuration.
  WriteRefused("1/running.xml");
  WriteRefused("2/running.xml");
  const std::string standing = WriteRefused("1/candidate.xml");
  const std::string healed = WriteAccepted("2/candidate.xml");
  const std::string first = WriteAccepted("3/candidate.xml");
  const std::string calls = " validation calls made, ";
  const std::string after =
      "fter a restart, the device would refuse this configuration";
  const ProgramResult accepted = Ipav({"check", "--restore", in()});
  EXPECT_EQ(accepted.status, 0);
  EXPECT_THAT(accepted.out,
              StartsWith(standing + ": accepted (0 of 0" + calls +
                         "10 of 10 after a restart)\na" + after +
                         ", and the running one (stands already):\nMinimum "));
  EXPECT_THAT(accepted.out,
              HasSubstr("\n" + healed + ": accepted (2 of 2" + calls +
                        "10 of 10 after a restart)\nhealed by this change: "
                        "after a restart, the device would refuse the running "
                        "configuration:\nMinimum "));
  EXPECT_EQ(CountOf("what to do", accepted.out), 1U);
  EXPECT_THAT(accepted.out,
              HasSubstr("\n" + first + ": accepted (10 of 10" + calls +
                        "the same after a restart)\n3 devices: 3 accepted"));
  EXPECT_EQ(Ipav({"check", "--restore", "--failed-only", in()}).out,
            "3 devices: 3 accepted, 0 refused, 0 bad input, 0 failed\n");
  // One that the change is refused for, too, is described once.
  const ProgramResult refused =
      Ipav({"check", "--restore", "--running", healed, standing});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.out, HasSubstr("\na" + after + ":\nMinimum "));
  EXPECT_THAT(refused.out,
              EndsWith("\n  see above: the change is refused for it, too\n"));
  EXPECT_EQ(CountOf("what to do", refused.out), 1U);
}

TEST_F(FleetTest, AFailureAfterARestartSaysWithWhichConfiguration) {
  const struct {
    std::string deed;
    std::string candidate;
    std::string reason;
  } rows[] = {
      {"_exit", "_exit", "the candidate: ended the process with status 0"},
      {"throw", "throw",
       "the candidate: it threw an exception: thrown for a reason"},
      {"_exit", "nothing",
       "the running configuration: ended the process with status 0"}};
  for (const auto& [deed, change, reason] : rows) {
    const std::string running = WriteDeed("running.xml", deed);
    const std::string candidate = WriteDeed("candidate.xml", change);
    const ProgramResult result =
        Ipav(Wild({"--restore", "--running", running, candidate}));
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out,
              candidate +
                  ": not judged, the plug-in failed (0 of 0 validation calls "
                  "made)\nthe plug-in failed: after a restart with " +
                  reason + "\n" + DeedLines(deed));
  }
}

}  // namespace

}  // namespace ipav::testing
