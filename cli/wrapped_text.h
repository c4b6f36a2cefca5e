// Paragraphs for a terminal.
#ifndef IPAV_CLI_WRAPPED_TEXT_H_
#define IPAV_CLI_WRAPPED_TEXT_H_

#include <cstddef>
#include <string>
#include <vector>

namespace ipav::cli {

inline constexpr std::size_t kTextColumns = 78;

// Prints a paragraph with `first` before its first line and as many blanks
// before the others.
void PrintWrapped(const std::string& first, const std::string& text);

// Prints each paragraph after an empty line, indented.
void PrintParagraphs(const std::vector<std::string>& paragraphs);

}  // namespace ipav::cli

#endif  // IPAV_CLI_WRAPPED_TEXT_H_
