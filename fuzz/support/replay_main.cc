// Runs a fuzz target on the files and folders of the command line. Options are
// for libFuzzer, which has the same arguments, and are ignored here.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/support/target.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& path) {
  if (!fs::is_directory(path)) return {path};
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// Prints the name first, since a finding ends the process.
bool Run(const fs::path& path) {
  static_cast<void>(std::fprintf(stderr, "%s\n", path.c_str()));
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  std::vector<std::uint8_t> input{std::istreambuf_iterator<char>(file), {}};
  // No spare capacity, in which the address sanitizer would not detect a read.
  input.shrink_to_fit();
  return LLVMFuzzerTestOneInput(input.data(), input.size()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t inputs = 0;
  for (const std::string argument : std::vector<char*>(argv + 1, argv + argc)) {
    if (argument[0] == '-') continue;
    for (const fs::path& file : FilesOf(argument)) {
      if (!Run(file)) {
        static_cast<void>(std::fprintf(stderr, "cannot be read\n"));
        return 2;
      }
      ++inputs;
    }
  }
  static_cast<void>(std::printf("%zu inputs, no finding\n", inputs));
  return inputs == 0 ? 2 : 0;
}
