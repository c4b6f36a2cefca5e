#include "messages/document.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "host/datastore/input_file.h"

namespace ipav::messages {

namespace {

constexpr char kFence[] = "```";

bool StartsWith(const std::string& text, const std::string& begin) {
  return text.rfind(begin, 0) == 0;
}

// As Markdown makes it of a heading.
std::string AnchorOf(const std::string& title) {
  std::string anchor;
  for (const char c : title) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0 || c == '_' || c == '-') {
      anchor += static_cast<char>(std::tolower(byte));
    } else if (c == ' ') {
      anchor += '-';
    }
  }
  return anchor;
}

bool IsItem(const std::string& line) {
  const std::size_t digits = line.find_first_not_of("0123456789");
  return digits != 0 && digits != std::string::npos &&
         line.compare(digits, 2, ". ") == 0;
}

std::string Trimmed(const std::string& line) {
  const std::size_t begin = line.find_first_not_of(' ');
  return begin == std::string::npos ? "" : line.substr(begin);
}

class Reader {
 public:
  std::vector<Section> Read(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) Take(line);
    return std::move(sections_);
  }

 private:
  void Take(const std::string& line) {
    if (StartsWith(line, kFence)) {
      in_texts_ = !in_texts_;
      in_block_ = false;
      if (in_texts_) Add(Block::Kind::kTexts, "");
    } else if (in_texts_) {
      if (!sections_.empty()) {
        sections_.back().blocks.back().lines.push_back(line);
      }
    } else if (StartsWith(line, "#")) {
      TakeHeading(line);
    } else if (line.empty() || line[0] == '|') {  // a table is for readers
      in_block_ = false;
    } else {
      TakeText(line);
    }
  }

  void TakeHeading(const std::string& line) {
    in_block_ = false;
    const std::size_t level = line.find_first_not_of('#');
    const std::string title = Trimmed(line.substr(level));
    if (level == 2) chapter_ = title;
    sections_.push_back(
        {title, AnchorOf(title), level > 2 ? chapter_ : "", {}});
  }

  void TakeText(const std::string& line) {
    if (IsItem(line)) {
      Add(Block::Kind::kItem, line);
    } else if (in_block_ && !sections_.empty()) {
      sections_.back().blocks.back().text += " " + Trimmed(line);
    } else {
      Add(Block::Kind::kParagraph, line);
    }
    in_block_ = true;
  }

  void Add(Block::Kind kind, const std::string& text) {
    if (!sections_.empty()) sections_.back().blocks.push_back({kind, text, {}});
  }

  std::vector<Section> sections_;
  std::string chapter_;
  bool in_texts_ = false;
  bool in_block_ = false;  // the next line may go on with it
};

}  // namespace

std::vector<Section> ReadDocument(const std::string& file) {
  return Reader().Read(datastore::ReadInput(file, datastore::kMaxInputSize));
}

std::vector<std::string> TextsOf(const Section& section) {
  std::vector<std::string> texts;
  for (const Block& block : section.blocks) {
    texts.insert(texts.end(), block.lines.begin(), block.lines.end());
  }
  return texts;
}

std::vector<std::string> LinksOf(const Section& section) {
  std::vector<std::string> anchors;
  for (const Block& block : section.blocks) {
    std::size_t begin = block.text.find("](#");
    for (; begin != std::string::npos; begin = block.text.find("](#", begin)) {
      begin += 3;
      const std::string anchor =
          block.text.substr(begin, block.text.find(')', begin) - begin);
      if (std::find(anchors.begin(), anchors.end(), anchor) == anchors.end()) {
        anchors.push_back(anchor);
      }
    }
  }
  return anchors;
}

bool IsWhy(const Block& block) { return StartsWith(block.text, "**Why**"); }

std::string Plain(const std::string& markdown) {
  std::string text;
  for (std::size_t at = 0; at < markdown.size(); ++at) {
    const char c = markdown[at];
    if (c == '`' || c == '[' || markdown.compare(at, 2, "**") == 0) {
      if (c == '*') ++at;
      continue;
    }
    if (c == ']' && markdown.compare(at, 2, "](") == 0) {
      at = std::min(markdown.find(')', at), markdown.size() - 1);
    } else if (c != ']') {
      text += c;
    }
  }
  return text;
}

}  // namespace ipav::messages
