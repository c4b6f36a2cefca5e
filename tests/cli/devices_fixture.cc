#include "tests/cli/devices_fixture.h"

#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

constexpr char kDeeds[] =
    "hang spin spawn-and-hang spawn-and-crash _exit overflow-stack "
    "leave-open warn warn-silently return-1 refuse-at-length "
    "refuse-in-odd-bytes write-for-ever close-files throw kill-parent";

// A model of one leaf for each deed of the test plug-in, and of nodes that hold
// any data.
std::string ModelText() {
  std::string text =
      "module m { yang-version 1.1; namespace \"urn:m\"; prefix m;\n"
      "import tailf-common { prefix tailf; }\n"
      "container top { list row { key k; leaf k { type string; } }\n"
      "anydata data; anyxml xml;\n";
  std::istringstream deeds(kDeeds);
  for (std::string deed; deeds >> deed;) {
    text += "leaf " + deed + " { type string; tailf:validate test_set " +
            "{ tailf:opaque " + deed + "; tailf:dependency \".\"; } }\n";
  }
  return text + "leaf nothing { type string; }\n} }\n";
}

std::string WithMinInterval(int seconds) {
  return InterfacesXml(
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name><ipv6><nd><ra>\n"
      "<max-interval>200</max-interval><min-interval>" +
      std::to_string(seconds) +
      "</min-interval><lifetime>1800</lifetime>\n</ra></nd></ipv6></l3>");
}

pid_t ParentOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string stat;
  std::getline(file, stat);
  const std::size_t name_end = stat.rfind(") ");
  if (name_end == std::string::npos) return 0;
  std::istringstream rest(stat.substr(name_end + 2));
  char state = 0;
  pid_t parent = 0;
  rest >> state >> parent;
  return parent;
}

}  // namespace

void DevicesTest::SetUp() {
  for (const char* part : {"in", "tmp", "yang", "output"}) {
    fs::create_directory(folder_ / part);
  }
  fs::copy(IPAV_ROOT "/yang/ipav-extensions.yang", folder_ / "yang");
  fs::copy(IPAV_ROOT "/yang/stubs", folder_ / "yang/stubs");
  std::ofstream(folder_ / "yang/m.yang") << ModelText();
}

std::string DevicesTest::Write(const std::string& name,
                               const std::string& text) const {
  const fs::path path = folder_ / "in" / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string DevicesTest::WriteAccepted(const std::string& name) const {
  return Write(name, WithMinInterval(150));
}

std::string DevicesTest::WriteRefused(const std::string& name) const {
  return Write(name, WithMinInterval(151));
}

std::string DevicesTest::WriteBad(const std::string& name) const {
  return Write(name, "interface l3 a\n");
}

std::string DevicesTest::WriteData(const std::string& name,
                                   const std::string& inner) const {
  return Write(name, "<top xmlns=\"urn:m\">" + inner + "</top>\n");
}

std::string DevicesTest::WriteDeed(const std::string& name,
                                   const std::string& deed) const {
  return WriteData(name, "<" + deed + ">x</" + deed + ">");
}

Program DevicesTest::Run(const Words& command) const {
  // A sanitizer must not handle a crash before the program's parent sees it.
  constexpr char kNoHandlers[] = "handle_segv=0:handle_sigbus=0";
  return {command,
          folder_ / "output",
          {{{"TMPDIR", folder_ / "tmp"},
            {"IPAV_TEST_MARK", mark()},
            {"IPAV_TEST_STARTED", started()},
            {"ASAN_OPTIONS", kNoHandlers},
            {"TSAN_OPTIONS", kNoHandlers}},
           folder_ / "tmp",
           obeys_permissions_}};
}

Program DevicesTest::Start(const Words& arguments) const {
  return Run(Joined({IPAV_PROGRAM}, arguments));
}

ProgramResult DevicesTest::Ipav(const Words& arguments) const {
  return Start(arguments).Wait();
}

Words DevicesTest::Wild(const Words& more, const std::string& plugin) const {
  return Joined({"check", "--yang", folder_ / "yang", "--plugin",
                 IPAV_TEST_PLUGINS "/" + plugin + ".so"},
                more);
}

std::size_t DevicesTest::AwaitProcesses(std::size_t count) const {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::seconds(60);
  for (;;) {
    const std::size_t found = ProcessesWith("IPAV_TEST_MARK", mark()).size();
    if (found == count || Clock::now() > deadline) return found;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

std::vector<pid_t> DevicesTest::DeviceProcesses() const {
  std::vector<pid_t> children;
  for (const pid_t process : ProcessesWith("IPAV_TEST_MARK", mark())) {
    const pid_t parent = ParentOf(process);
    if (ParentOf(parent) == getpid()) children.push_back(process);
  }
  return children;
}

std::string AcceptedLine(const std::string& file) {
  return file + ": accepted (10 of 10 validation calls made)\n";
}

std::string NothingLine(const std::string& file) {
  return file + ": accepted (0 of 0 validation calls made)\n";
}

std::string FailedLines(const std::string& file, const std::string& reason) {
  return file +
         ": not judged, the plug-in failed (0 of 1 validation calls made)\n"
         "the plug-in failed: " +
         reason + "\n";
}

std::string DeedLines(const std::string& deed) {
  return "  validation point: " + deed + "\n  data path: /top/" + deed + "\n";
}

std::string RefusedLines(const std::string& file, int made, int planned,
                         const std::string& min, const std::string& max) {
  const std::string line =
      "      3 | <max-interval>200</max-interval><min-interval>151"
      "</min-interval><lifetime>1800</lifetime>\n        | ";
  return file + ": refused (" + std::to_string(made) + " of " +
         std::to_string(planned) +
         " validation calls made)\n"
         "Minimum interval must be no greater than maximum interval * 0.75\n"
         "  validation point: validate_ipv6_nd_ra_interval\n"
         "  data path: /config/interface/l3{a}/ipv6/nd/ra\n  " +
         file + ":3:47: min-interval, " + min + "\n" + line +
         std::string(46, ' ') + "^~~\n  " + file + ":3:15: max-interval, " +
         max + "\n" + line + std::string(14, ' ') +
         "^~~\n"
         "  what to do: Lower min-interval to at most three quarters of "
         "max-interval, or raise max-interval.\n"
         "  see docs/messages.md#minimum-interval\n";
}

}  // namespace ipav::testing
