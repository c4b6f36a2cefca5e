#include "host/datastore/input_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/host/fixtures.h"

namespace {

using host_test::InputErrorOf;
using host_test::TempDir;
using ipav::datastore::kMaxInputSize;
using ipav::datastore::ReadInput;

constexpr std::size_t kTight = 1000;

std::string ErrorOf(const std::string& path) {
  return InputErrorOf([&] { ReadInput(path, kTight); });
}

TEST(InputFile, IsReadByteForByte) {
  const TempDir dir;
  std::string text;
  for (int i = 0; i < 1000; ++i) text += static_cast<char>(i);
  EXPECT_EQ(ReadInput(dir.Write("file", text), kTight), text);
  EXPECT_EQ(ReadInput(dir.Write("empty", ""), kTight), "");
}

TEST(InputFile, LongerThanAnyBufferIsReadWhole) {
  const TempDir dir;
  std::string text;
  for (int i = 0; i < 300000; ++i) text += std::to_string(i);
  EXPECT_EQ(ReadInput(dir.Write("file", text), kMaxInputSize), text);
}

TEST(InputFile, AtItsLimitIsReadAndAByteAboveIsRefused) {
  const TempDir dir;
  const std::string text(1000, 'x');
  EXPECT_EQ(ReadInput(dir.Write("fits", text), kTight), text);
  const std::string file = dir.Write("above", text + "x");
  EXPECT_EQ(ErrorOf(file), file + ": is larger than the limit of 1000 bytes");
}

TEST(InputFile, OfTheKernelThatTellsNoSizeIsRead) {
  EXPECT_NE(ReadInput("/proc/self/status", kMaxInputSize), "");
}

TEST(InputFile, PipeWhoseWriterComesLateAndWritesInPiecesIsReadWhole) {
  const TempDir dir;
  const std::string pipe = dir.path() + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] {
    const std::chrono::milliseconds pause(20);
    std::this_thread::sleep_for(pause);
    std::ofstream stream(pipe);
    for (const char* piece : {"one ", "two ", "three"}) {
      stream << piece << std::flush;
      std::this_thread::sleep_for(pause);
    }
  });
  EXPECT_EQ(ReadInput(pipe, kTight), "one two three");
  writer.join();
}

TEST(InputFile, ThatCannotBeReadIsNamedWithTheReason) {
  const TempDir dir;
  EXPECT_EQ(ErrorOf("/nowhere/file"),
            "/nowhere/file: No such file or directory");
  EXPECT_EQ(ErrorOf(""), ": No such file or directory");
  EXPECT_EQ(ErrorOf(dir.path()), dir.path() + ": is a directory, not a file");
  // Nothing is mapped where it starts, not even for root.
  EXPECT_EQ(ErrorOf("/proc/self/mem"), "/proc/self/mem: Input/output error");
  const std::string loop = dir.path() + "/loop";
  std::filesystem::create_symlink(loop, loop);
  EXPECT_EQ(ErrorOf(loop), loop + ": Too many levels of symbolic links");
}

}  // namespace
