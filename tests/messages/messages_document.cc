#include "tests/messages/messages_document.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

constexpr char kDocument[] = IPAV_ROOT "/docs/messages.md";

// The heading that a line is: "" where it is none, or the title.
std::string HeadingOf(const std::string& line) {
  const std::size_t marks = line.find_first_not_of('#');
  const bool is_heading =
      marks != std::string::npos && marks >= 2 && line[marks] == ' ';
  return is_heading ? line.substr(marks + 1) : "";
}

}  // namespace

std::string Read(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<DocumentedText> ReadMessages() {
  std::vector<DocumentedText> messages;
  std::istringstream document(Read(kDocument));
  std::string section;
  std::string heading;
  bool in_block = false;
  for (std::string line; std::getline(document, line);) {
    const std::string found = HeadingOf(line);
    if (!found.empty()) heading = found;
    if (line.rfind("## ", 0) == 0) section = found;
    if (line.rfind("```", 0) == 0) {
      in_block = !in_block;
    } else if (in_block) {
      messages.push_back({section, heading, line});
    }
  }
  return messages;
}

std::vector<std::string> ReadHeadings() {
  std::vector<std::string> headings;
  std::istringstream document(Read(kDocument));
  for (std::string line; std::getline(document, line);) {
    const std::string heading = HeadingOf(line);
    if (!heading.empty()) headings.push_back(heading);
  }
  return headings;
}

bool IsForOperators(const DocumentedText& message) {
  return message.section != "Warnings" && message.section != "Debug lines";
}

std::vector<std::string> ExpectedTexts() {
  std::vector<std::string> texts;
  for (const auto& file :
       fs::recursive_directory_iterator(IPAV_ROOT "/tests/e2e")) {
    if (file.path().filename() != "expect.txt") continue;
    texts.push_back(Read(file.path()));
    texts.back().pop_back();
  }
  return texts;
}

}  // namespace ipav::testing
