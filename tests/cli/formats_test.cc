// Reports of the command in their formats, and where they go.

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "tests/cli/devices_fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class FormatsTest : public DevicesTest {
 protected:
  ProgramResult Check(const std::string& format, const std::string& file,
                      const Words& more = {}) const {
    return Ipav(Joined({"check", "--format", format, file}, more));
  }
  static json DeviceOf(const ProgramResult& result, int status) {
    EXPECT_EQ(result.status, status);
    const json report = json::parse(result.out);
    EXPECT_EQ(report.at("summary").at("status"), status);
    EXPECT_EQ(report.at("summary").at("devices"), 1);
    return report.at("devices").at(0);
  }
  static json SarifOf(const ProgramResult& result, int status) {
    EXPECT_EQ(result.status, status);
    json run = json::parse(result.out).at("runs").at(0);
    EXPECT_EQ(run.at("invocations").at(0).at("exitCode"), status);
    return run;
  }
};

TEST_F(FormatsTest, JsonHasTheAnswersAndCallsOfAnAcceptance) {
  const std::string file = WriteAccepted("a.xml");
  const json device = DeviceOf(Check("json", file), 0);
  EXPECT_EQ(device.at("candidate"), file);
  EXPECT_EQ(device.at("verdict"), "accepted");
  EXPECT_EQ(device.at("validationCalls"),
            json::parse(R"({"planned": 10, "made": 10})"));
  EXPECT_EQ(device.at("answers").size(), 10U);
  EXPECT_GT(device.at("platformCalls").at("maapi_exists"), 0);
  EXPECT_TRUE(device.at("findings").empty());
}

TEST_F(FormatsTest, BadInputIsInTheReportAndOnStandardError) {
  const std::string file = WriteBad("a.xml");
  const std::string error = file + ":1:1: neither XML nor JSON";
  const ProgramResult result = Check("json", file);
  EXPECT_EQ(result.err, "ipav: " + error + "\n");
  const json device = DeviceOf(result, 2);
  EXPECT_EQ(device.at("verdict"), "badInput");
  EXPECT_EQ(device.at("inputErrors"), json({{{"text", error}}}));
}

TEST_F(FormatsTest, AFailedPlugInIsInEveryReport) {
  const std::string file = WriteDeed("a.xml", "spawn-and-crash");
  const json device = DeviceOf(Ipav(Wild({"--format", "json", file})), 3);
  EXPECT_EQ(device.at("verdict"), "pluginFailed");
  EXPECT_EQ(device.at("failure"), json::parse(R"({
    "reason": "killed by signal: Aborted", "point": "spawn-and-crash",
    "path": "/top/spawn-and-crash"})"));
  const json run = SarifOf(Ipav(Wild({"--format", "sarif", file})), 3);
  EXPECT_EQ(run.at("invocations").at(0).at("executionSuccessful"), false);
  EXPECT_TRUE(run.at("results").empty());
  EXPECT_THAT(Ipav(Wild({"--format", "junit", file})).out,
              HasSubstr("<error message=\"killed by signal: Aborted\" "
                        "type=\"plug-in failed\""));
}

TEST_F(FormatsTest, TimesOfEachPartAreThoseOfStandardError) {
  const std::string running = WriteAccepted("running.xml");
  const std::string file = WriteRefused("a.xml");
  const ProgramResult result =
      Check("json", file, {"--timing", "--running", running});
  const json device = DeviceOf(result, 1);
  const json& times = device.at("times");
  const auto expect_printed = [&](const std::string& what,
                                  const json& seconds) {
    // From whole nanoseconds, as the program does: another number could be
    // rounded to the other side.
    const std::chrono::nanoseconds time(
        std::llround(seconds.get<double>() * 1e9));
    const std::chrono::duration<double, std::milli> milliseconds(time);
    char line[256];
    std::snprintf(line, sizeof(line), "timing: %s%.3f ms\n", what.c_str(),
                  milliseconds.count());
    EXPECT_THAT(result.err, HasSubstr(line));
  };
  expect_printed(file + ": parse: ", times.at("candidate").at("parse"));
  expect_printed(running + ": text: ", times.at("running").at("text"));
  expect_printed(file + ": diff: ", times.at("diff"));
  const json& commit = times.at("commit");
  expect_printed(file + ": child process: ", commit.at("child"));
  ASSERT_FALSE(commit.at("ofPoints").empty());
  const json& point = commit.at("ofPoints").at(0);
  expect_printed(file + ": " + point.at("point").get<std::string>() + ": " +
                     std::to_string(point.at("calls").get<int>()) + " call" +
                     (point.at("calls") == 1 ? "" : "s") + ", " +
                     std::to_string(point.at("platformCalls").get<int>()) +
                     " platform calls, ",
                 point.at("time"));
  EXPECT_LE(commit.at("points"), commit.at("child"));
  EXPECT_LE(commit.at("child"), device.at("seconds"));
}

TEST_F(FormatsTest, TheSameInputGivesTheSameReportAlsoInAFile) {
  const std::string file = WriteRefused("a.xml");
  const std::string output = folder_ / "report";
  for (const char* format : kFormats) {
    EXPECT_EQ(Check(format, file, {"--output", output}),
              (ProcessResult{1, "", ""}));
    EXPECT_EQ(Check(format, file), (ProcessResult{1, ReadFile(output), ""}));
  }
}

TEST_F(FormatsTest, AnUnknownFormatIsAnErrorOfTheCommandLine) {
  EXPECT_THAT(Check("yaml", WriteAccepted("a.xml")),
              IsBadInput("--format: yaml is not text, json, sarif or junit "
                         "(see ipav check --help)\n"));
}

// --- Files

TEST_F(FormatsTest, ATextFileHasBadInputToo) {
  const std::string file = WriteBad("a.xml");
  const std::string output = folder_ / "report";
  EXPECT_EQ(Check("text", file, {"--output", output}).status, 2);
  EXPECT_EQ(ReadFile(output), file + ": not judged, bad input\n  " + file +
                                  ":1:1: neither XML nor JSON\n");
}

TEST_F(FormatsTest, AFileThatCannotGrowLeavesTheOldOneAsItWas) {
  const std::string output = Write("report.json", "old\n");
  // No file of more than 512 bytes or a kilobyte, and an error, not a signal.
  const Words command = {"/bin/sh", "-c",
                         "trap '' XFSZ; ulimit -f 1; exec \"$@\" 2>/dev/null",
                         "sh", IPAV_PROGRAM};
  const Words check = Wild({"--format", "json", "--output", output,
                            WriteDeed("a.xml", "refuse-at-length")});
  EXPECT_EQ(Run(Joined(command, check)).Wait().status, 2);
  EXPECT_EQ(ReadFile(output), "old\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(in()), {}), 2);
}

TEST_F(FormatsTest, AFolderThatMustNotBeWrittenIsNamedBeforeAnythingIsJudged) {
  const std::string output = Write("locked/report.json", "old\n");
  const fs::path locked = fs::path(output).parent_path();
  fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
  obeys_permissions_ = true;
  EXPECT_THAT(
      Ipav(Wild({"--format", "json", "--output", output,
                 WriteDeed("a.xml", "hang")})),
      IsBadInput(output +
                 ": the report cannot be written: Permission denied\n"));
  fs::permissions(locked, fs::perms::owner_all);
  EXPECT_EQ(ReadFile(output), "old\n");
}

TEST_F(FormatsTest, NoInputIsReplacedByAReport) {
  const std::string file = WriteAccepted("a.xml");
  const std::string other = WriteAccepted("b.xml");
  const std::string text = ReadFile(file);
  const std::string page = in() + "/page";
  const std::pair<Words, std::string> rows[] = {
      {{"--output", file, file}, file},
      {{"--report", file, file}, file},
      {{"--output", page, "--report", page, file}, page},
      {{"--running", file, "--output", file, other}, file}};
  for (const auto& [arguments, replaced] : rows) {
    EXPECT_THAT(Ipav(Joined({"check"}, arguments)),
                IsBadInput(replaced + ": would be replaced, and is needed as " +
                           replaced + "\n"));
  }
  EXPECT_EQ(ReadFile(file), text);
}

TEST_F(FormatsTest, WithoutAReportTheOldFileStays) {
  const std::string output = Write("report.json", "old\n");
  const std::string plugin = Write("text.so", "no library\n");
  EXPECT_EQ(Check("json", WriteAccepted("a.xml"),
                  {"--plugin", plugin, "--output", output})
                .status,
            2);
  EXPECT_EQ(ReadFile(output), "old\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(in()), {}), 3);
}

}  // namespace

}  // namespace ipav::testing
