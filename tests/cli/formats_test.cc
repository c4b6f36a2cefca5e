// Reports of the command in their formats, and where they go.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/cli/devices_fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class FormatsTest : public DevicesTest {
 protected:
  json JsonOf(const std::string& file, int status) const {
    return DeviceOf(Ipav({"check", "--format", "json", file}), status);
  }
  static json DeviceOf(const ProgramResult& result, int status) {
    EXPECT_EQ(result.status, status);
    const json report = json::parse(result.out);
    EXPECT_EQ(report.at("summary").at("status"), status);
    EXPECT_EQ(report.at("summary").at("devices"), 1);
    return report.at("devices").at(0);
  }
  json SarifOf(const std::vector<std::string>& arguments, int status) const {
    const ProgramResult result = Ipav(arguments);
    EXPECT_EQ(result.status, status);
    json run = json::parse(result.out).at("runs").at(0);
    EXPECT_EQ(run.at("invocations").at(0).at("exitCode"), status);
    return run;
  }
  static void ExpectIn(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << text;
  }
};

TEST_F(FormatsTest, JsonTellsAnAcceptanceWithItsAnswersAndCalls) {
  const std::string file = WriteAccepted("a.xml");
  const json device = JsonOf(file, 0);
  EXPECT_EQ(device.at("candidate"), file);
  EXPECT_EQ(device.at("verdict"), "accepted");
  EXPECT_EQ(device.at("validationCalls"),
            json::parse(R"({"planned": 10, "made": 10})"));
  EXPECT_EQ(device.at("answers").size(), 10U);
  EXPECT_GT(device.at("platformCalls").at("maapi_exists"), 0);
  EXPECT_TRUE(device.at("findings").empty());
}

TEST_F(FormatsTest, JsonTellsARefusalWithItsFinding) {
  const json device = JsonOf(WriteRefused("a.xml"), 1);
  EXPECT_EQ(device.at("verdict"), "refused");
  ASSERT_EQ(device.at("findings").size(), 1U);
  const json& finding = device.at("findings").at(0);
  EXPECT_EQ(finding.at("text"),
            "Minimum interval must be no greater than maximum interval * 0.75");
  EXPECT_EQ(finding.at("point"), "validate_ipv6_nd_ra_interval");
  EXPECT_EQ(finding.at("path"), "/config/interface/l3{a}/ipv6/nd/ra");
}

TEST_F(FormatsTest, BadInputIsInTheReportAndOnStandardError) {
  const std::string file = WriteBad("a.xml");
  const std::string error = file + ":1: neither XML nor JSON";
  const ProgramResult result = Ipav({"check", "--format", "json", file});
  EXPECT_EQ(result.err, "ipav: " + error + "\n");
  const json device = DeviceOf(result, 2);
  EXPECT_EQ(device.at("verdict"), "badInput");
  EXPECT_EQ(device.at("inputError"), error);

  const json run = SarifOf({"check", "--format", "sarif", file}, 2);
  EXPECT_EQ(run.at("invocations")
                .at(0)
                .at("toolExecutionNotifications")
                .at(0)
                .at("message")
                .at("text"),
            error);
  ExpectIn(Ipav({"check", "--format", "junit", file}).out,
           "<error message=\"" + error + "\" type=\"bad input\"");
}

TEST_F(FormatsTest, ABadRunningConfigurationOfOneDeviceIsInItsReport) {
  const std::string running = WriteBad("running.xml");
  const ProgramResult result = Ipav({"check", "--format", "json", "--running",
                                     running, WriteAccepted("a.xml")});
  EXPECT_EQ(DeviceOf(result, 2).at("inputError"),
            running + ":1: neither XML nor JSON");
}

TEST_F(FormatsTest, AFailedPlugInIsInEveryReport) {
  const std::string file = WriteDeed("a.xml", "spawn-and-crash");
  const json device = DeviceOf(Ipav(Wild({"--format", "json", file})), 3);
  EXPECT_EQ(device.at("verdict"), "pluginFailed");
  EXPECT_EQ(device.at("failure"), json::parse(R"({
    "reason": "killed by signal: Aborted", "point": "spawn-and-crash",
    "path": "/top/spawn-and-crash"})"));
  const json run = SarifOf(Wild({"--format", "sarif", file}), 3);
  EXPECT_EQ(run.at("invocations").at(0).at("executionSuccessful"), false);
  EXPECT_TRUE(run.at("results").empty());
  ExpectIn(Ipav(Wild({"--format", "junit", file})).out,
           "<error message=\"killed by signal: Aborted\" type=\"plug-in "
           "failed\"");
}

TEST_F(FormatsTest, ARefusalIsAResultOfSarifAndAFailureOfJunit) {
  const std::string file = WriteRefused("a.xml");
  const json run = SarifOf({"check", "--format", "sarif", file}, 1);
  ASSERT_EQ(run.at("results").size(), 1U);
  EXPECT_EQ(run.at("results").at(0).at("message").at("text"),
            "Minimum interval must be no greater than maximum interval * 0.75");
  EXPECT_EQ(run.at("invocations").at(0).at("executionSuccessful"), true);
  ExpectIn(Ipav({"check", "--format", "junit", file}).out,
           "tests=\"8\" failures=\"1\" errors=\"0\"");
}

TEST_F(FormatsTest, AnAcceptanceHasNoResultAndNoFailure) {
  const std::string file = WriteAccepted("a.xml");
  const json run = SarifOf({"check", "--format", "sarif", file}, 0);
  EXPECT_TRUE(run.at("results").empty());
  ExpectIn(Ipav({"check", "--format", "junit", file}).out,
           "tests=\"10\" failures=\"0\" errors=\"0\"");
}

TEST_F(FormatsTest, TheBytesOfAnOddTextAreInTheJsonReport) {
  const json device =
      DeviceOf(Ipav(Wild({"--format", "json",
                          WriteDeed("a.xml", "refuse-in-odd-bytes")})),
               1);
  EXPECT_EQ(device.at("findings").at(0).at("textHex"),
            "6f6e650a74776f0d0a0a097461"
            "62207b7d2025731b5b33316d72656407ffc32820eda080");
  EXPECT_EQ(device.at("answers").at(0).at("textHex"),
            device.at("findings").at(0).at("textHex"));
}

TEST_F(FormatsTest, TimesAreInTheReportWhenAskedForAlone) {
  const std::string file = WriteAccepted("a.xml");
  EXPECT_FALSE(JsonOf(file, 0).contains("seconds"));
  EXPECT_FALSE(JsonOf(file, 0).contains("times"));
  const ProgramResult result =
      Ipav({"check", "--timing", "--format", "json", file});
  const double time = DeviceOf(result, 0).at("seconds");
  EXPECT_GT(time, 0);
  EXPECT_LT(time, 60);
  ExpectIn(Ipav({"check", "--timing", "--format", "junit", file}).out,
           " time=\"");
}

TEST_F(FormatsTest, TimesOfEachPartAreThoseOfStandardError) {
  const std::string running = WriteAccepted("running.xml");
  const std::string file = WriteRefused("a.xml");
  const ProgramResult result = Ipav(
      {"check", "--timing", "--format", "json", "--running", running, file});
  const json device = DeviceOf(result, 1);
  const json& times = device.at("times");
  const auto expect_told = [&](const std::string& what, const json& seconds) {
    // As whole nanoseconds, which both were made of: else they could be
    // rounded to either side.
    const std::chrono::nanoseconds time(
        std::llround(seconds.get<double>() * 1e9));
    const std::chrono::duration<double, std::milli> milliseconds(time);
    char line[256];
    std::snprintf(line, sizeof(line), "timing: %s%.3f ms\n", what.c_str(),
                  milliseconds.count());
    ExpectIn(result.err, line);
  };
  expect_told(file + ": parse: ", times.at("candidate").at("parse"));
  expect_told(running + ": text: ", times.at("running").at("text"));
  expect_told(file + ": diff: ", times.at("diff"));
  const json& commit = times.at("commit");
  expect_told(file + ": child process: ", commit.at("child"));
  ASSERT_FALSE(commit.at("ofPoints").empty());
  const json& point = commit.at("ofPoints").at(0);
  expect_told(file + ": " + point.at("point").get<std::string>() + ": " +
                  std::to_string(point.at("calls").get<int>()) + " call" +
                  (point.at("calls") == 1 ? "" : "s") + ", " +
                  std::to_string(point.at("platformCalls").get<int>()) +
                  " platform calls, ",
              point.at("time"));
  EXPECT_LE(commit.at("points"), commit.at("child"));
  EXPECT_LE(commit.at("child"), device.at("seconds"));
}

TEST_F(FormatsTest, TimesSurviveASummary) {
  const std::string result = folder_ / "1.json";
  const std::string files[] = {WriteAccepted("a.xml"), WriteRefused("b.xml")};
  Ipav({"check", "--timing", "--format", "json", "--output", result, "-j", "2",
        files[0], files[1]});
  const json before = json::parse(ReadFile(result));
  const json after =
      json::parse(Ipav({"summarize", "--format", "json", result}).out);
  EXPECT_TRUE(before.at("devices").at(1).contains("times"));
  EXPECT_EQ(after.at("devices"), before.at("devices"));
}

TEST_F(FormatsTest, TheSameInputGivesTheSameReport) {
  const std::string file = WriteRefused("a.xml");
  for (const char* format : {"text", "json", "sarif", "junit"}) {
    EXPECT_EQ(Ipav({"check", "--format", format, file}).out,
              Ipav({"check", "--format", format, file}).out);
  }
}

TEST_F(FormatsTest, AFormatThatIsNoneIsAnErrorOfTheCommandLine) {
  const ProgramResult result =
      Ipav({"check", "--format", "yaml", WriteAccepted("a.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "ipav: --format: yaml is not text, json, sarif or "
            "junit (see ipav check --help)\n");
}

// --- Files

TEST_F(FormatsTest, AFileHasWhatStandardOutputWouldHave) {
  const std::string file = WriteRefused("a.xml");
  const std::string output = folder_ / "report";
  for (const char* format : {"text", "json", "sarif", "junit"}) {
    const ProgramResult result =
        Ipav({"check", "--format", format, "--output", output, file});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(ReadFile(output), Ipav({"check", "--format", format, file}).out);
  }
}

TEST_F(FormatsTest, ATextFileTellsOfBadInputToo) {
  const std::string file = WriteBad("a.xml");
  const std::string output = folder_ / "report";
  EXPECT_EQ(Ipav({"check", "--output", output, file}).status, 2);
  EXPECT_EQ(ReadFile(output), file + ": not judged, bad input\n  " + file +
                                  ":1: neither XML nor JSON\n");
}

TEST_F(FormatsTest, AFullDiskEndsWithStatus2AndOneLine) {
  for (const char* format : {"text", "json", "sarif", "junit"}) {
    const ProgramResult result = Ipav({"check", "--format", format, "--output",
                                       "/dev/full", WriteAccepted("a.xml")});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(
        result.err.rfind("ipav: /dev/full: the report cannot be written", 0),
        0U)
        << result.err;
  }
}

TEST_F(FormatsTest, AFileThatCannotGrowLeavesTheOldOneAsItWas) {
  const std::string output = Write("report.json", "old\n");
  // No file of more than 512 bytes or a kilobyte, and an error, not a signal.
  std::vector<std::string> command = {
      "/bin/sh", "-c", "trap '' XFSZ; ulimit -f 1; exec \"$@\" 2>/dev/null",
      "sh", IPAV_PROGRAM};
  const auto check = Wild({"--format", "json", "--output", output,
                           WriteDeed("a.xml", "refuse-at-length")});
  command.insert(command.end(), check.begin(), check.end());
  Program program(command, folder_ / "output");
  EXPECT_EQ(program.Wait().status, 2);
  EXPECT_EQ(ReadFile(output), "old\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(in()), {}), 2);
}

TEST_F(FormatsTest, AFolderThatMustNotBeWrittenIsToldBeforeAnythingIsJudged) {
  const std::string output = Write("locked/report.json", "old\n");
  const fs::path locked = fs::path(output).parent_path();
  fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
  obeys_permissions_ = true;
  const ProgramResult result = Ipav(Wild(
      {"--format", "json", "--output", output, WriteDeed("a.xml", "hang")}));
  fs::permissions(locked, fs::perms::owner_all);
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "ipav: " + output +
                            ": the report cannot be written: Permission "
                            "denied\n");
  EXPECT_EQ(ReadFile(output), "old\n");
}

TEST_F(FormatsTest, NoInputIsReplacedByAReport) {
  const std::string file = WriteAccepted("a.xml");
  const std::string text = ReadFile(file);
  for (const char* option : {"--output", "--report"}) {
    const ProgramResult result = Ipav({"check", option, file, file});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "ipav: " + file +
                              ": would be replaced, and is needed as " + file +
                              "\n");
  }
  const std::string page = in() + "/page";
  EXPECT_EQ(Ipav({"check", "--output", page, "--report", page, file}).status,
            2);
  EXPECT_EQ(Ipav({"check", "--running", file, "--output", file,
                  WriteAccepted("b.xml")})
                .status,
            2);
  EXPECT_EQ(ReadFile(file), text);
}

TEST_F(FormatsTest, WithoutAReportTheOldFileStays) {
  const std::string output = Write("report.json", "old\n");
  const std::string plugin = Write("text.so", "no library\n");
  EXPECT_EQ(Ipav({"check", "--plugin", plugin, "--output", output,
                  WriteAccepted("a.xml")})
                .status,
            2);
  EXPECT_EQ(ReadFile(output), "old\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(in()), {}), 3);
}

}  // namespace

}  // namespace ipav::testing
