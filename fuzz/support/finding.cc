#include "fuzz/support/finding.h"

#include <cstdio>
#include <cstdlib>

namespace ipav::fuzz {

void Finding(const std::string& what) {
  static_cast<void>(std::fprintf(stderr, "finding: %s\n", what.c_str()));
  std::abort();
}

}  // namespace ipav::fuzz
