// The dynamic symbol table of the plug-in, as nm(1) prints it.
#ifndef IPAV_TESTS_PLUGIN_DYNAMIC_SYMBOLS_H_
#define IPAV_TESTS_PLUGIN_DYNAMIC_SYMBOLS_H_

#include <string>
#include <vector>

struct DynamicSymbol {
  char kind;         // nm's letter
  std::string name;  // with its version, as in malloc@GLIBC_2.2.5
};

// In nm's order, by name. `selection` is nm's option for the symbols wanted.
std::vector<DynamicSymbol> DynamicSymbols(const std::string& selection);

#endif  // IPAV_TESTS_PLUGIN_DYNAMIC_SYMBOLS_H_
