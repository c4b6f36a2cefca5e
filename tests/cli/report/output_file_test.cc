// A report's file is there whole or not at all.
#include "cli/report/output_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using cli::report::OutputFile;

class OutputFileTest : public FolderTest {
 protected:
  std::ptrdiff_t Files() const {
    return std::distance(fs::directory_iterator(folder_), {});
  }
  // What is said where it cannot be opened, or committed.
  static std::string Error(const std::string& file) {
    try {
      OutputFile output(file);
      std::fputs("report\n", output.stream());
      output.Commit();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }
};

TEST_F(OutputFileTest, ANewFileIsThereWhenItIsWhole) {
  const std::string file = folder_ / "report.json";
  OutputFile output(file);
  std::fputs("report\n", output.stream());
  std::fflush(output.stream());
  EXPECT_EQ(Files(), 0);
  output.Commit();
  EXPECT_EQ(ReadFile(file), "report\n");
  EXPECT_EQ(Files(), 1);
}

TEST_F(OutputFileTest, AnOldFileIsReplacedAndKeepsItsPermissions) {
  const std::string file = Write("report.json", "a longer old report\n");
  fs::permissions(file, static_cast<fs::perms>(0640));
  EXPECT_EQ(Error(file), "");
  EXPECT_EQ(ReadFile(file), "report\n");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
  EXPECT_EQ(Files(), 1);
}

TEST_F(OutputFileTest, ANewFileHasThePermissionsOfAnyOther) {
  const mode_t before = umask(027);
  EXPECT_EQ(Error(folder_ / "report.json"), "");
  umask(before);
  EXPECT_EQ(fs::status(folder_ / "report.json").permissions(), fs::perms(0640));
}

TEST_F(OutputFileTest, WithoutItsEndNothingChanges) {
  const std::string file = Write("report.json", "old\n");
  {
    const OutputFile output(file);
    std::fputs("half a rep", output.stream());
  }
  EXPECT_EQ(ReadFile(file), "old\n");
  EXPECT_EQ(Files(), 1);
}

TEST_F(OutputFileTest, ALinkStaysALink) {
  const std::string file = Write("report.json", "old\n");
  fs::create_symlink("report.json", folder_ / "latest");
  EXPECT_EQ(Error(folder_ / "latest"), "");
  EXPECT_TRUE(fs::is_symlink(folder_ / "latest"));
  EXPECT_EQ(ReadFile(file), "report\n");
}

TEST_F(OutputFileTest, ADeviceIsWrittenToAndNotReplaced) {
  EXPECT_EQ(Error("/dev/null"), "");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(OutputFileTest, StandardOutputStaysOpen) {
  OutputFile("").Commit();
  EXPECT_GE(fcntl(STDOUT_FILENO, F_GETFD), 0);
}

TEST_F(OutputFileTest, AFullDiskIsTold) {
  EXPECT_EQ(Error("/dev/full"),
            "/dev/full: the report cannot be written: No space left on device");
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(OutputFileTest, AFolderIsNoFile) {
  EXPECT_EQ(
      Error(folder_),
      folder_.string() + ": the report cannot be written: Is a directory");
}

std::string WhyNotReplaced(const std::string& output,
                           const std::vector<std::string>& others) {
  try {
    cli::report::RefuseToReplace(output, others);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST_F(OutputFileTest, ThatIsReadIsRefusedByWhateverName) {
  const std::string file = Write("running.xml", "<config/>");
  const std::string link = folder_ / "link.xml";
  const std::string hard = folder_ / "hard.xml";
  fs::create_symlink(file, link);
  fs::create_hard_link(file, hard);
  for (const std::string& name :
       {file, link, hard, (folder_ / "./running.xml").string()}) {
    EXPECT_EQ(WhyNotReplaced(name, {"", "other.xml", file}),
              name + ": would be replaced, and is needed as " + file);
  }
}

TEST_F(OutputFileTest, OfTwoReportsIsRefusedThoughItIsNew) {
  const std::string file = folder_ / "new";
  EXPECT_EQ(WhyNotReplaced(file, {file}),
            file + ": would be replaced, and is needed as " + file);
}

TEST_F(OutputFileTest, ThatNobodyReadsMayBeReplaced) {
  const std::string file = Write("report.json", "old");
  EXPECT_EQ(WhyNotReplaced(file, {"", Write("running.xml", ""), "missing"}),
            "");
  EXPECT_EQ(WhyNotReplaced("", {""}), "");
  EXPECT_EQ(WhyNotReplaced("/dev/null", {"/dev/null"}), "");
}

}  // namespace

}  // namespace ipav::testing
