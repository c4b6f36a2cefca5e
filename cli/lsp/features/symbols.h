// The parts of a configuration as an outline for the user.
#ifndef IPAV_CLI_LSP_FEATURES_SYMBOLS_H_
#define IPAV_CLI_LSP_FEATURES_SYMBOLS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "cli/lsp/features/outline.h"

namespace ipav::features {

struct Symbol {
  // SymbolKind of the protocol: Namespace and Object.
  enum class Kind : std::uint8_t { kGroup = 3, kEntry = 19 };
  Kind kind = Kind::kEntry;
  std::string name;  // never empty
  std::string detail;
  Span whole;
  Span selection;  // in it: what is shown
  std::vector<Symbol> children;
};

// Interfaces, VRFs, routes and OSPF tables, as groups; only those that the text
// has, in the order of the text.
std::vector<Symbol> SymbolsOf(const Outline& outline);

}  // namespace ipav::features

#endif  // IPAV_CLI_LSP_FEATURES_SYMBOLS_H_
