// The formats by their names on the command line.
#ifndef IPAV_CLI_REPORT_FORMATS_H_
#define IPAV_CLI_REPORT_FORMATS_H_

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "cli/report/run.h"
#include "cli/report/text/text.h"
#include "cli/report/writer.h"

namespace ipav::cli::report {

enum class Format : std::uint8_t { kText, kJson, kSarif, kJunit };

const std::map<std::string, Format>& FormatsByName();

// `out` and `run` are borrowed. The run is read at the end of the report, when
// it must include all devices; its shard must be set at the beginning.
std::unique_ptr<Writer> MakeWriter(Format format, std::FILE* out,
                                   const Run& run, const TextOptions& text);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_FORMATS_H_
