// Texts with a cursor, for tests of the editor's questions.
#ifndef TESTS_FEATURES_MARKED_TEXT_H_
#define TESTS_FEATURES_MARKED_TEXT_H_

#include <cstddef>
#include <string>

#include "cli/lsp/features/outline.h"
#include "tests/host/fixtures.h"

namespace features_test {

using ipav::features::Format;
using ipav::features::Outline;
using ipav::features::Span;

// A text in which '|' was the cursor. JSON begins with a brace.
struct MarkedText {
  explicit MarkedText(std::string marked)
      : text(std::move(marked)), cursor(text.find('|')) {
    if (cursor != std::string::npos) text.erase(cursor, 1);
  }

  Outline Read() const {
    const Format format =
        text.rfind('{', 0) == 0 ? Format::kJson : Format::kXml;
    return Outline(text, format, host_test::ProjectModel());
  }
  std::string At(const Span& span) const {
    return text.substr(span.begin, span.end - span.begin);
  }

  std::string text;
  std::size_t cursor;
};

// An l3 interface with that in it, and all around it.
inline std::string InL3(const std::string& inside) {
  return "<config xmlns=\"urn:vorplex:config\">\n  <interface>\n"
         "    <l3 xmlns=\"urn:vorplex:ipapp\">\n" +
         inside + "\n    </l3>\n  </interface>\n</config>\n";
}
inline std::string InJsonL3(const std::string& inside) {
  return "{\n  \"vorplex-config:config\": {\n    \"interface\": {\n"
         "      \"ipapp:l3\": [\n        {\n" +
         inside + "\n        }\n      ]\n    }\n  }\n}\n";
}

}  // namespace features_test

#endif  // TESTS_FEATURES_MARKED_TEXT_H_
