// docs/messages.md as data: its sections and what they are made of, for a
// terminal. The document is written for people; what this reads of it is the
// Markdown that it uses.
#ifndef IPAV_MESSAGES_DOCUMENT_H_
#define IPAV_MESSAGES_DOCUMENT_H_

#include <cstddef>
#include <string>
#include <vector>

namespace ipav::messages {

// A paragraph, an item of a numbered list, or a block of texts.
struct Block {
  enum class Kind { kParagraph, kItem, kTexts };
  Kind kind;
  std::string text;                // Markdown on one line, not of kTexts
  std::vector<std::string> lines;  // of kTexts, with <placeholders>
};

struct Section {
  std::string title;
  std::string anchor;  // what a link to it names
  std::string parent;  // title of the section that it is part of, or empty
  std::vector<Block> blocks;
};

// In their order. Throws datastore::InputError.
std::vector<Section> ReadDocument(const std::string& file);

// All texts of a section.
std::vector<std::string> TextsOf(const Section& section);

// The anchors that its links name, each once, in their order.
std::vector<std::string> LinksOf(const Section& section);

// Whether a paragraph answers why a rule is as it is.
bool IsWhy(const Block& block);

// Markdown without its marks.
std::string Plain(const std::string& markdown);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_DOCUMENT_H_
