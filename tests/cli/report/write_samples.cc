// Writes the sample reports to standard output in a format, for what checks
// them with the tools of that format: write_samples FORMAT
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "tests/cli/report/sample_reports.h"

int main(int argc, char** argv) {
  try {
    const std::string name = argc == 2 ? argv[1] : "";
    const auto format = ipav::cli::report::FormatsByName().at(name);
    std::cout << ipav::testing::Written(format, ipav::testing::SampleReports());
    return 0;
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
    return 1;
  }
}
