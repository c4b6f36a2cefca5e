#include "report/whole_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "fixtures.h"

namespace {

namespace fs = std::filesystem;

using host_test::TempDir;
using ipav::cli::report::ExpectWritable;
using ipav::cli::report::WriteError;
using ipav::cli::report::WriteWhole;

constexpr auto kOwnersAndGroups =
    fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t FilesIn(const std::string& folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

void Write(const std::string& path, const char* text) {
  WriteWhole(path, [text](std::FILE* file) { std::fputs(text, file); });
}

template <typename Body>
std::string ErrorOf(const Body& body) {
  try {
    body();
  } catch (const WriteError& error) {
    return error.what();
  }
  return "no error";
}

TEST(WriteWhole, MakesTheFileAndNothingElse) {
  const TempDir folder;
  const std::string path = folder.path() + "/page.html";
  Write(path, "new");
  EXPECT_EQ(Read(path), "new");
  EXPECT_EQ(FilesIn(folder.path()), 1U);
}

TEST(WriteWhole, ReplacesAFileAndKeepsItsPermissions) {
  const TempDir folder;
  const std::string path = folder.Write("page.html", "old and longer");
  fs::permissions(path, kOwnersAndGroups);
  Write(path, "new");
  EXPECT_EQ(Read(path), "new");
  EXPECT_EQ(fs::status(path).permissions(), kOwnersAndGroups);
}

TEST(WriteWhole, GivesANewFileThePermissionsOfAnyNewFile) {
  const TempDir folder;
  const mode_t mask = umask(0027);
  Write(folder.path() + "/page.html", "new");
  umask(mask);
  EXPECT_EQ(fs::status(folder.path() + "/page.html").permissions(),
            kOwnersAndGroups);
}

TEST(WriteWhole, LeavesWhatWasThereWhenTheWriterFails) {
  const TempDir folder;
  const std::string path = folder.Write("page.html", "old");
  EXPECT_THROW(WriteWhole(path,
                          [](std::FILE* file) {
                            std::fputs("half of", file);
                            throw std::runtime_error("no more");
                          }),
               std::runtime_error);
  EXPECT_EQ(Read(path), "old");
  EXPECT_EQ(FilesIn(folder.path()), 1U);
}

TEST(WriteWhole, WritesWhatALinkLeadsTo) {
  const TempDir folder;
  const std::string path = folder.Write("page.html", "old");
  const std::string link = folder.path() + "/link.html";
  fs::create_symlink(path, link);
  Write(link, "new");
  EXPECT_EQ(Read(path), "new");
  EXPECT_TRUE(fs::is_symlink(link));
}

TEST(WriteWhole, TakesNoPlaceOfADevice) {
  EXPECT_EQ(ErrorOf([] { Write("/dev/null", "new"); }),
            "/dev/null: is no regular file");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(ExpectWritable, TellsEarlyWhatCannotBeWritten) {
  const TempDir folder;
  const auto error_of = [](const std::string& path) {
    return ErrorOf([&] { ExpectWritable(path); });
  };
  EXPECT_EQ(error_of(folder.path() + "/page.html"), "no error");
  const std::string nowhere = folder.path() + "/no/page.html";
  EXPECT_EQ(error_of(nowhere), nowhere + ": No such file or directory");
  EXPECT_EQ(error_of(folder.path()), folder.path() + ": is no regular file");
  EXPECT_EQ(error_of(""), "the report: has no name");
  EXPECT_EQ(FilesIn(folder.path()), 0U);
}

}  // namespace
