// Writes the sample reports to standard output in a format, for what checks
// them with the tools of that format: write_samples FORMAT
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include "report/json.h"
#include "sample_reports.h"

namespace {

using ipav::cli::report::JsonWriter;
using ipav::cli::report::Run;
using ipav::cli::report::Writer;

std::unique_ptr<Writer> MakeWriter(const std::string& format, const Run& run) {
  if (format == "json") return std::make_unique<JsonWriter>(stdout, run);
  throw std::runtime_error("no such format: " + format);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Run run;
    const auto writer = MakeWriter(argc == 2 ? argv[1] : "", run);
    writer->Begin();
    for (const auto& device : ipav::testing::SampleReports()) {
      run.summary.Add(device.status);
      writer->Add(device);
    }
    writer->End();
    return 0;
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
    return 1;
  }
}
