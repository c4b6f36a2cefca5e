// Devices in a temporary folder, and ipav over them: with the product's
// plug-in, or with one that misbehaves as a device requests.
#ifndef IPAV_TESTS_CLI_DEVICES_FIXTURE_H_
#define IPAV_TESTS_CLI_DEVICES_FIXTURE_H_

#include <cstddef>
#include <string>
#include <vector>

#include "tests/cli/fixture.h"

namespace ipav::testing {

class DevicesTest : public FolderTest {
 protected:
  void SetUp() override;

  // A file in the folder `in`; makes the folders of its name.
  std::string Write(const std::string& name, const std::string& text) const;

  // A first configuration that is accepted, one that is refused, and a file
  // that is not a configuration.
  std::string WriteAccepted(const std::string& name) const;
  std::string WriteRefused(const std::string& name) const;
  std::string WriteBad(const std::string& name) const;

  // A candidate for the misbehaving plug-in. The name of its leaf says what the
  // plug-in does; for the leaf `nothing`, the plug-in is not called.
  std::string WriteData(const std::string& name,
                        const std::string& inner) const;
  std::string WriteDeed(const std::string& name, const std::string& deed) const;

  // Starts a command, or ipav. All processes of a test can be found by a
  // variable of their environment.
  Program Run(const Words& command) const;
  Program Start(const Words& arguments) const;
  ProgramResult Ipav(const Words& arguments) const;

  // "check" with a misbehaving plug-in.
  Words Wild(const Words& more,
             const std::string& plugin = "obeys_opaque") const;

  std::string in() const { return folder_ / "in"; }
  std::string started() const { return folder_ / "started"; }

  // Waits until as many processes of the program run, or ten seconds; returns
  // how many do.
  std::size_t AwaitProcesses(std::size_t count) const;
  void ExpectNoProcess() const { EXPECT_EQ(AwaitProcesses(0), 0U); }
  // Children of the program itself.
  std::vector<pid_t> DeviceProcesses() const;
  std::string mark() const { return folder_.filename(); }

  bool obeys_permissions_ = false;  // of the programs that are started
};

// Parts of the text report.
std::string AcceptedLine(const std::string& file);
std::string NothingLine(const std::string& file);  // no call was needed
std::string FailedLines(const std::string& file, const std::string& reason);
std::string DeedLines(const std::string& deed);  // the point and the path
// `min` and `max` are what the commit did to the two timers.
std::string RefusedLines(const std::string& file, int made = 8,
                         int planned = 10, const std::string& min = "added",
                         const std::string& max = "added");

}  // namespace ipav::testing

#endif  // IPAV_TESTS_CLI_DEVICES_FIXTURE_H_
