#include "cli/report/formats.h"

#include "cli/report/json/json.h"
#include "cli/report/junit/junit.h"
#include "cli/report/sarif/sarif.h"

namespace ipav::cli::report {

const std::map<std::string, Format>& FormatsByName() {
  static const std::map<std::string, Format> kFormats = {
      {"text", Format::kText},
      {"json", Format::kJson},
      {"sarif", Format::kSarif},
      {"junit", Format::kJunit}};
  return kFormats;
}

std::unique_ptr<Writer> MakeWriter(Format format, std::FILE* out,
                                   const Run& run, const TextOptions& text) {
  switch (format) {
    case Format::kJson:
      return std::make_unique<JsonWriter>(out, run);
    case Format::kSarif:
      return std::make_unique<SarifWriter>(out, run);
    case Format::kJunit:
      return std::make_unique<JunitWriter>(out);
    case Format::kText:
      break;
  }
  return std::make_unique<TextWriter>(out, text);
}

}  // namespace ipav::cli::report
