#include "cli/fix/corrected_text.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstddef>

#include "host/base/utf8.h"
#include "host/datastore/diff.h"

namespace ipav::cli::fix {

namespace {

using datastore::DataTree;
using datastore::InputText;
using source::Replacement;
using Lines = std::vector<std::string_view>;

constexpr std::size_t kContext = 3;  // lines around a change

// With their ends.
Lines LinesOf(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::size_t size =
        end == std::string_view::npos ? text.size() : end + 1;
    lines.push_back(text.substr(0, size));
    text.remove_prefix(size);
  }
  return lines;
}

// Lines of the file that become others.
struct Block {
  std::size_t begin;  // lines, from 0
  std::size_t end;
  std::string text;  // instead
};

// Leaves out the lines at the ends of the block that stay.
void Trim(const Lines& lines, Block* block) {
  const std::string text = block->text;
  Lines now = LinesOf(text);
  while (block->begin < block->end && !now.empty() &&
         lines[block->begin] == now.front()) {
    ++block->begin;
    now.erase(now.begin());
  }
  while (block->begin < block->end && !now.empty() &&
         lines[block->end - 1] == now.back()) {
    --block->end;
    now.pop_back();
  }
  block->text.clear();
  for (const std::string_view line : now) block->text += line;
}

// The blocks in their order.
std::vector<Block> BlocksOf(std::string_view bytes, const Lines& lines,
                            const std::vector<Replacement>& replacements) {
  std::vector<Block> blocks;
  std::vector<std::size_t> begins = {0};  // of lines, and the end
  for (const auto& line : lines) begins.push_back(begins.back() + line.size());
  const auto line_of = [&](std::size_t at) {
    const auto next = std::upper_bound(begins.begin(), begins.end(), at);
    return std::min(static_cast<std::size_t>(next - begins.begin()) - 1,
                    lines.size() - 1);
  };
  for (auto first = replacements.begin(); first != replacements.end();) {
    // All replacements in the same lines.
    Block block{line_of(first->span.begin), line_of(first->span.end) + 1, ""};
    auto last = first + 1;
    while (last != replacements.end() &&
           line_of(last->span.begin) < block.end) {
      block.end = std::max(block.end, line_of(last->span.end) + 1);
      ++last;
    }
    const std::size_t begin = begins[block.begin];
    std::vector<Replacement> in_block(first, last);
    for (Replacement& replacement : in_block) {
      replacement.span.begin -= begin;
      replacement.span.end -= begin;
    }
    block.text = source::Replace(bytes.substr(begin, begins[block.end] - begin),
                                 in_block);
    Trim(lines, &block);
    blocks.push_back(std::move(block));
    first = last;
  }
  return blocks;
}

void AddLine(char sign, std::string_view line, std::string* diff) {
  (*diff += sign) += line;
  if (line.back() != '\n') *diff += "\n\\ No newline at end of file\n";
}

std::string RangeOf(std::size_t begin, std::size_t count) {
  const std::size_t first = count == 0 ? begin : begin + 1;
  return count == 1 ? std::to_string(first)
                    : fmt::format("{},{}", first, count);
}

// A name as patch(1) reads it.
std::string NameOf(const std::string& file) {
  if (!base::IsPrintable(file) ||
      file.find_first_of("\"\\") != std::string::npos) {
    return base::Quoted(file);
  }
  return file.find(' ') == std::string::npos ? file : file + "\t";
}

// Writes the blocks from `first` on that have common context. Returns the next
// block. `shift`: lines that the file has more after the blocks before.
std::size_t AddHunk(const Lines& lines, const std::vector<Block>& blocks,
                    std::size_t first, std::ptrdiff_t* shift,
                    std::string* diff) {
  const std::size_t begin =
      blocks[first].begin - std::min(blocks[first].begin, kContext);
  std::size_t next = first;
  std::size_t at = begin;
  std::size_t added = 0;
  std::size_t removed = 0;
  std::string body;
  do {
    const Block& block = blocks[next];
    for (; at < block.begin; ++at) AddLine(' ', lines[at], &body);
    for (; at < block.end; ++at) AddLine('-', lines[at], &body);
    const Lines now = LinesOf(block.text);
    for (const std::string_view line : now) AddLine('+', line, &body);
    removed += block.end - block.begin;
    added += now.size();
    ++next;
  } while (next < blocks.size() && blocks[next].begin <= at + 2 * kContext);
  const std::size_t end = std::min(at + kContext, lines.size());
  for (; at < end; ++at) AddLine(' ', lines[at], &body);
  const std::size_t count = end - begin;
  *diff += fmt::format("@@ -{} +{} @@\n", RangeOf(begin, count),
                       RangeOf(static_cast<std::size_t>(
                                   static_cast<std::ptrdiff_t>(begin) + *shift),
                               count - removed + added));
  *diff += body;
  *shift +=
      static_cast<std::ptrdiff_t>(added) - static_cast<std::ptrdiff_t>(removed);
  return next;
}

}  // namespace

std::vector<Replacement> Correct(const InputText& text, const DataTree& before,
                                 const DataTree& after) {
  std::vector<Replacement> replacements =
      source::FindReplacements(text, before, after);
  const auto fail = [&] {
    throw NotCorrected(
        text.path +
        ": the file cannot be corrected: its new text has other data");
  };
  try {
    const InputText corrected{text.path,
                              source::Replace(text.bytes, replacements),
                              text.start, text.format};
    const DataTree read = DataTree::FromText(after.model(), corrected);
    if (!datastore::Diff(after, read).top().empty()) fail();
  } catch (const datastore::InputError&) {
    fail();
  }
  return replacements;
}

std::vector<messages::TextEdit> EditsOf(
    std::string_view bytes, const std::vector<Replacement>& replacements) {
  std::vector<messages::TextEdit> edits;
  for (const Replacement& replacement : replacements) {
    const auto begin = datastore::PositionAt(bytes, replacement.span.begin);
    const auto end = datastore::PositionAt(bytes, replacement.span.end);
    edits.push_back(
        {begin.line, begin.column, end.line, end.column, replacement.text});
  }
  return edits;
}

std::string UnifiedDiff(const std::string& file, std::string_view bytes,
                        const std::vector<Replacement>& replacements) {
  if (replacements.empty()) return "";
  const Lines lines = LinesOf(bytes);
  const std::vector<Block> blocks = BlocksOf(bytes, lines, replacements);
  const std::string name = NameOf(file);
  std::string diff = "--- " + name + "\n+++ " + name + "\n";
  std::ptrdiff_t shift = 0;
  for (std::size_t i = 0; i < blocks.size();) {
    i = AddHunk(lines, blocks, i, &shift, &diff);
  }
  return diff;
}

}  // namespace ipav::cli::fix
