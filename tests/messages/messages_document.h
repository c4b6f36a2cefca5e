// docs/messages.md, taken apart, and the texts that the end-to-end cases
// expect.
#ifndef TESTS_MESSAGES_MESSAGES_DOCUMENT_H_
#define TESTS_MESSAGES_MESSAGES_DOCUMENT_H_

#include <filesystem>
#include <string>
#include <vector>

namespace ipav::testing {

std::string Read(const std::filesystem::path& path);

struct DocumentedText {
  std::string section;  // heading of the second level
  std::string heading;  // the nearest one
  std::string text;     // with <placeholders>
};

// The lines of the blocks of texts.
std::vector<DocumentedText> ReadMessages();

// Every heading below the title.
std::vector<std::string> ReadHeadings();

bool IsForOperators(const DocumentedText& message);

// What the refused cases expect, without the newline at the end.
std::vector<std::string> ExpectedTexts();

}  // namespace ipav::testing

#endif  // TESTS_MESSAGES_MESSAGES_DOCUMENT_H_
