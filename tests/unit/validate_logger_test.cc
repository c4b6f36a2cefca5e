// There is one logger per process, so that every body runs in a child process
// of its own and reports what the host saw on standard error.

#include "include/validate_logger.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/support/death_text.h"
#include "tests/support/fake_platform.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::ValidateLogger;

int TimesAskedForTheLog() {
  int times = 0;
  for (const Call& call : Fake().calls()) {
    if (call.name == "get_config_vald_log_handle") ++times;
  }
  return times;
}

// Ends the child with an account of the lines and of the handle they went to.
[[noreturn]] void ReportAndExit() {
  std::string report = "asked " + std::to_string(TimesAskedForTheLog()) + ";";
  for (const LogLine& line : Fake().log_lines()) {
    report += line.handle == Fake().log_handle() ? " [" : " elsewhere [";
    report += line.format + "|" + line.text + "]";
  }
  std::fprintf(stderr, "%s\n", report.c_str());
  std::exit(0);
}

void ExpectReport(void (*body)(), const std::string& report) {
  GTEST_FLAG_SET(death_test_style, "fast");
  EXPECT_EXIT(
      {
        Fake().Reset();
        body();
        ReportAndExit();
      },
      ::testing::ExitedWithCode(0), "^" + Escaped(report + "\n") + "$");
}

TEST(ValidateLoggerTest, HandsFormatAndArgumentsToTheHost) {
  ExpectReport(
      [] {
        ValidateLogger::Log("There is no path for '%s' and '%s'. Skipping %u",
                            "/a", "/b", 7U);
      },
      "asked 1; [There is no path for '%s' and '%s'. Skipping %u|"
      "There is no path for '/a' and '/b'. Skipping 7]");
}

TEST(ValidateLoggerTest, AsksForTheLogOnceForAllLines) {
  ExpectReport(
      [] {
        ValidateLogger::Log("first");
        ValidateLogger::Log("%s", "second");
        ValidateLogger::Log("third");
      },
      "asked 1; [first|first] [%s|second] [third|third]");
}

TEST(ValidateLoggerTest, AsksForTheLogAtTheFirstUseOnly) {
  ExpectReport([] {}, "asked 0;");
}

TEST(ValidateLoggerTest, IsOneInstance) {
  ExpectReport(
      [] {
        if (&ValidateLogger::instance() != &ValidateLogger::instance()) {
          std::fputs("two instances\n", stderr);
        }
      },
      "asked 1;");
}

TEST(ValidateLoggerTest, DropsEveryLineEvenWhenTheHostHasALogLater) {
  ExpectReport(
      [] {
        Fake().set_log_available(false);
        ValidateLogger::Log("first");
        Fake().set_log_available(true);
        ValidateLogger::Log("second");
        ValidateLogger::Log("third");
      },
      "asked 1;");
}

// Both threads wait for each other, so that their first lines meet in the
// making of the instance.
TEST(ValidateLoggerTest, IsMadeOnceWhenTwoThreadsRaceForIt) {
  ExpectReport(
      [] {
        std::atomic<int> ready{0};
        const auto log_when_both_are_ready = [&ready] {
          ++ready;
          while (ready < 2) std::this_thread::yield();
          for (int i = 0; i < 2; ++i) ValidateLogger::Log("%s", "a line");
        };
        std::thread first(log_when_both_are_ready);
        std::thread second(log_when_both_are_ready);
        first.join();
        second.join();
      },
      "asked 1; [%s|a line] [%s|a line] [%s|a line] [%s|a line]");
}

}  // namespace
}  // namespace ipav::testing
