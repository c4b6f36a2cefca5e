#include "cli/lsp/features.h"

namespace ipav::cli::lsp {

const std::vector<Feature>& Features() {
  static const std::vector<Feature> features = {};
  return features;
}

}  // namespace ipav::cli::lsp
