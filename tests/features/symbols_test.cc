#include "cli/lsp/features/symbols.h"

#include <gtest/gtest.h>

#include "tests/features/marked_text.h"

namespace features_test {

namespace {

using ipav::features::Symbol;

// A line for each symbol: name, detail and what is selected.
void Print(const MarkedText& text, const std::vector<Symbol>& symbols,
           const std::string& indent, std::string* printed) {
  for (const Symbol& symbol : symbols) {
    *printed += indent + symbol.name + " | " + symbol.detail + " | " +
                text.At(symbol.selection) + "\n";
    Print(text, symbol.children, indent + "  ", printed);
  }
}

std::string SymbolsIn(const std::string& bytes) {
  MarkedText text("");
  text.text = bytes;
  std::string printed;
  Print(text, SymbolsOf(text.Read()), "", &printed);
  return printed;
}

TEST(Symbols, AreTheEntriesInGroups) {
  EXPECT_EQ(SymbolsIn(ipav::testing::ReadFile(IPAV_STARTER)),
            "interfaces |  | users\n"
            "  l3 users |  | users\n"
            "  l3 uplink |  | uplink\n"
            "  l3 guests | VRF guest | guests\n"
            "  loopback 0 |  | 0\n"
            "  mgmt eth0 | VRF mgmt | eth0\n"
            "VRFs |  | 2\n"
            "  guest | index 2 | 2\n"
            "OSPFv2 processes |  | 1\n"
            "  process 1 | VRF global | 1\n"
            "OSPFv2 interfaces |  | 1\n"
            "  l3-uplink 192.0.2.0 | area 0.0.0.0 | 1\n"
            "OSPFv3 interfaces |  | 1\n"
            "  l3-uplink | area 0.0.0.0 | 1\n"
            "static routes |  | 0\n"
            "  0.0.0.0/0 via 192.0.2.1 | VRF index 0 | 0\n"
            "  10.0.0.0/8, black hole | VRF index 0 | 0\n"
            "output interfaces of routes |  | 0\n"
            "  0.0.0.0/0 via 192.0.2.1 | l3-uplink | 0\n");
}

TEST(Symbols, OfAHalfTypedTextHaveNamesToo) {
  EXPECT_EQ(SymbolsIn(R"({"vorplex-internal:internal": {"vrf-config": )"
                      R"({"indexTOstring": [{"index": 3}, {)"),
            "VRFs |  | 3\n"
            "  indexTOstring | index 3 | 3\n"
            "  indexTOstring | index  | {\n");
}

}  // namespace

}  // namespace features_test
