// Devices in a folder of the test's own, and ipav over them: with the product's
// plug-in, or with one that misbehaves as a device asks it to.
#ifndef IPAV_TESTS_CLI_DEVICES_FIXTURE_H_
#define IPAV_TESTS_CLI_DEVICES_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/program.h"
#include "tests/support/temp_dir.h"

namespace ipav::testing {

class DevicesTest : public FolderTest {
 protected:
  void SetUp() override;

  // A file below the folder `in`, whose own folders are made.
  std::string Write(const std::string& name, const std::string& text) const;

  // A configuration that is accepted when nothing is configured yet, one that
  // is refused, and one that is none.
  std::string WriteAccepted(const std::string& name) const;
  std::string WriteRefused(const std::string& name) const;
  std::string WriteBad(const std::string& name) const;

  // One that has the misbehaving plug-in do a deed, or nothing.
  std::string WriteDeed(const std::string& name, const std::string& deed) const;

  Program Start(std::vector<std::string> arguments) const;
  ProgramResult Ipav(const std::vector<std::string>& arguments) const;

  // "check" with the misbehaving plug-in.
  std::vector<std::string> Wild(const std::vector<std::string>& more) const;

  std::string in() const { return folder_ / "in"; }

  // Waits until as many processes of the program run, or ten seconds; returns
  // how many do.
  std::size_t AwaitProcesses(std::size_t count) const;
  // Children of the program itself.
  std::vector<pid_t> DeviceProcesses() const;
  std::string mark() const { return folder_.filename(); }

  bool obeys_permissions_ = false;  // what is started does
};

// Lines of the text report on such a device; its calls, as when nothing was
// configured.
std::string AcceptedLine(const std::string& file);
// What the commit did to the two timers is told with their places.
std::string RefusedLines(const std::string& file, int made = 8,
                         int planned = 10, const std::string& min = "added",
                         const std::string& max = "added");

}  // namespace ipav::testing

#endif  // IPAV_TESTS_CLI_DEVICES_FIXTURE_H_
