#include "tests/plugin/dynamic_symbols.h"

#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace {

std::string OutputOf(const std::string& command) {
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::string output;
  std::array<char, 4096> chunk;
  while (std::fgets(chunk.data(), chunk.size(), pipe) != nullptr) {
    output += chunk.data();
  }
  if (pclose(pipe) != 0) throw std::runtime_error(command + " failed");
  return output;
}

}  // namespace

std::vector<DynamicSymbol> DynamicSymbols(const std::string& selection) {
  // In the format of POSIX a line starts with name and kind.
  std::istringstream lines(OutputOf(std::string("LC_ALL=C ") + IPAV_TEST_NM +
                                    " --dynamic --format=posix " + selection +
                                    " '" + IPAV_TEST_PLUGIN + "'"));
  std::vector<DynamicSymbol> symbols;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    DynamicSymbol symbol{};
    words >> symbol.name >> symbol.kind;
    symbols.push_back(symbol);
  }
  return symbols;
}
