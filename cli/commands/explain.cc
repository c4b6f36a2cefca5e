#include "cli/commands/explain.h"

#include <fmt/core.h>

#include <CLI/App.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>

#include "cli/command.h"
#include "cli/options.h"
#include "host/datastore/input_file.h"
#include "host/datastore/model.h"
#include "messages/catalogue.h"
#include "messages/document.h"
#include "messages/match.h"

namespace ipav::cli {

namespace {

constexpr char kNotes[] =
    "A text is the one that an operator saw, interfaces and addresses filled\n"
    "in; a rule is named by its heading or as findings and SARIF name it.\n"
    "Without a topic, the validation points and rules are listed.\n"
    "\n"
    "Examples:\n"
    "  ipav explain ipv4_addr_validation\n"
    "  ipav explain overlap\n"
    "  ipav explain interface-overlap\n"
    "  ipav explain 'l3 a has duplicated IPv4 address 10.0.0.1'\n"
    "  ipav check --running running.xml candidate.xml | ipav explain -\n"
    "\n"
    "Exit status: 0 explained, 2 a topic is unknown.";

using messages::Block;
using messages::Match;
using messages::Section;

constexpr char kPoints[] = "Validation points";
constexpr std::size_t kColumns = 78;

bool IsPoint(const Section& section) { return section.parent == kPoints; }

// A section about texts: a rule, or texts that no rule tells.
bool IsMessage(const Section& section) {
  return !messages::TextsOf(section).empty();
}

bool IsTopic(const Section& section) {
  return IsPoint(section) || IsMessage(section);
}

const Section* Find(const std::vector<Section>& document,
                    const std::string& anchor) {
  const auto found = std::find_if(
      document.begin(), document.end(),
      [&](const Section& section) { return section.anchor == anchor; });
  return found == document.end() ? nullptr : &*found;
}

// ---- Print -----------------------------------------------------------------

// A paragraph, its first line behind `first` and the others behind as many
// blanks.
void PrintWrapped(const std::string& first, const std::string& text) {
  const std::string indent(first.size(), ' ');
  std::string line = first;
  bool is_empty = true;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (!is_empty && line.size() + 1 + word.size() > kColumns) {
      fmt::print("{}\n", line);
      line = indent;
      is_empty = true;
    }
    line += (is_empty ? "" : " ") + word;
    is_empty = false;
  }
  fmt::print("{}\n", line);
}

void PrintTexts(const std::string& indent,
                const std::vector<std::string>& texts) {
  for (const std::string& text : texts) fmt::print("{}{}\n", indent, text);
}

void PrintBlock(const Block& block) {
  if (block.kind == Block::Kind::kTexts) {
    PrintTexts("  ", block.lines);
    return;
  }
  const std::string text = messages::Plain(block.text);
  if (block.kind == Block::Kind::kItem) {
    const std::size_t number = text.find(' ') + 1;
    PrintWrapped("  " + text.substr(0, number), text.substr(number));
  } else {
    PrintWrapped("  ", text);
  }
}

// Paragraphs apart, the items of a list together.
void PrintBlocks(const Section& section) {
  Block::Kind last = Block::Kind::kParagraph;
  for (const Block& block : section.blocks) {
    const bool goes_on =
        block.kind == Block::Kind::kItem && last == Block::Kind::kItem;
    if (!goes_on) fmt::print("\n");
    PrintBlock(block);
    last = block.kind;
  }
}

// ---- A rule or a text ------------------------------------------------------

// The points whose tests lead to a section.
std::vector<std::string> PointsOf(const std::vector<Section>& document,
                                  const Section& message) {
  std::vector<std::string> points;
  for (const Section& section : document) {
    if (!IsPoint(section)) continue;
    const std::vector<std::string> links = messages::LinksOf(section);
    if (std::find(links.begin(), links.end(), message.anchor) != links.end()) {
      points.push_back(section.title);
    }
  }
  return points;
}

std::string Join(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    joined += (joined.empty() ? "" : ", ") + text;
  }
  return joined;
}

void PrintMessage(const std::vector<Section>& document,
                  const Section& section) {
  fmt::print("{} ({})\n", section.title, section.anchor);
  PrintBlocks(section);
  const std::vector<std::string> points = PointsOf(document, section);
  fmt::print("\n");
  if (!points.empty()) PrintWrapped("  Told by: ", Join(points));
  fmt::print("  See also: docs/messages.md#{}\n", section.anchor);
}

void PrintMatch(const std::vector<Section>& document, const Match& match,
                const std::string& text) {
  fmt::print("{}\n\n", text);
  for (const auto& [placeholder, filled] : match.filled_in) {
    fmt::print("  {} is {}\n", placeholder, filled.empty() ? "empty" : filled);
  }
  if (!match.filled_in.empty()) fmt::print("\n");
  PrintMessage(document, *match.section);
}

// ---- A point ---------------------------------------------------------------

// Of a section's texts, a point does not tell those with such a word.
struct Exception {
  const char* point;  // or what its name begins with
  const char* word;   // in lower case
};
constexpr Exception kExceptions[] = {
    {"ipv4_addr_", "ipv6 "},
    {"ipv6_addr_", "ipv4 "},
    {"intf_vrf_validation", "ipv6 "},
    {"validate_ipv6_nd_ra_interval", "lifetime"},
    {"validate_ipv6_nd_ra_lifetime", "minimum"},
};

bool CanTell(const std::string& point, std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
    return static_cast<char>(std::tolower(c));
  });
  return std::none_of(std::begin(kExceptions), std::end(kExceptions),
                      [&](const Exception& exception) {
                        return point.rfind(exception.point, 0) == 0 &&
                               text.find(exception.word) != std::string::npos;
                      });
}

void PrintToldTexts(const std::vector<Section>& document,
                    const Section& point) {
  fmt::print("\nTexts\n");
  for (const std::string& anchor : messages::LinksOf(point)) {
    const Section* section = Find(document, anchor);
    if (section == nullptr) continue;
    fmt::print("\n  {} ({})\n", section->title, anchor);
    for (const std::string& text : messages::TextsOf(*section)) {
      if (CanTell(point.title, text)) fmt::print("    {}\n", text);
    }
    for (const Block& block : section->blocks) {
      if (IsWhy(block)) PrintWrapped("    ", messages::Plain(block.text));
    }
  }
}

// The nodes that a dependency names, from the root.
std::string PathOf(const datastore::UseSite& site,
                   const datastore::Dependency& dependency) {
  if (!dependency.steps.empty()) {
    return datastore::SchemaPath(*dependency.steps.back());
  }
  const lysc_node* node = site.node;
  for (std::size_t i = 0; i < dependency.ups && node != nullptr; ++i) {
    node = lysc_data_parent(node);
  }
  return node == nullptr ? "/" : datastore::SchemaPath(*node);
}

void PrintUseSites(const datastore::Model& model, const Section& point) {
  fmt::print("\nWhere the data model has it, and what runs it\n");
  for (const datastore::UseSite& site : model.use_sites()) {
    // A use site may append to the name.
    if (site.opaque.rfind(point.title, 0) != 0) continue;
    fmt::print("\n  {}, {}\n", site.path,
               site.call_once ? "once for the list" : "for each");
    if (site.dependencies.empty()) fmt::print("    every commit\n");
    for (const datastore::Dependency& dependency : site.dependencies) {
      fmt::print("    a change in {}\n", PathOf(site, dependency));
    }
  }
}

// ---- Topics ----------------------------------------------------------------

void PrintList(const std::vector<Section>& document) {
  fmt::print("Validation points\n");
  for (const Section& section : document) {
    if (!IsPoint(section) || section.blocks.empty()) continue;
    const std::string text = messages::Plain(section.blocks.front().text);
    fmt::print("  {}\n", section.title);
    const std::size_t end = std::min(text.find(". "), text.size() - 1);
    PrintWrapped("    ", text.substr(0, end + 1));
  }
  fmt::print("\nRules\n");
  for (const Section& section : document) {
    if (!IsMessage(section)) continue;
    fmt::print("  {:<38}{}\n", section.anchor, section.title);
  }
}

// What a topic is; none of both for an unknown one.
struct Topic {
  const Section* section = nullptr;  // a point or a rule
  std::optional<Match> match;        // a text
};

// A rule is named by its heading, or by the identifier that findings have.
Topic FindTopic(const std::vector<Section>& document, const std::string& name) {
  const messages::Message* rule = messages::FindMessage(name);
  const Section* section =
      Find(document, rule == nullptr ? name : rule->anchor);
  if (section != nullptr && IsTopic(*section)) {
    return {section, std::nullopt};
  }
  return {nullptr, messages::FindText(document, name)};
}

// All names that a topic may have.
std::vector<std::string> NamesOf(const std::vector<Section>& document) {
  std::vector<std::string> names;
  for (const Section& section : document) {
    if (IsTopic(section)) names.push_back(section.anchor);
    for (const std::string& text : messages::TextsOf(section)) {
      names.push_back(text);
    }
  }
  for (const messages::Message& rule : messages::Messages()) {
    names.push_back(rule.rule);
  }
  return names;
}

// The names most alike, of a rule's two names only one.
std::vector<std::string> Nearest(const std::vector<Section>& document,
                                 const std::string& name) {
  constexpr std::size_t kSuggestions = 3;
  const std::vector<std::string> alike =
      messages::MostAlike(NamesOf(document), name, 2 * kSuggestions);
  std::vector<std::string> nearest;
  for (const std::string& one : alike) {
    const messages::Message* rule = messages::FindMessage(one);
    const bool is_there =
        rule != nullptr &&
        std::find(alike.begin(), alike.end(), rule->anchor) != alike.end();
    if (!is_there && nearest.size() < kSuggestions) nearest.push_back(one);
  }
  return nearest;
}

void ReportUnknown(const std::vector<Section>& document,
                   const std::string& name) {
  std::string line = "ipav: no validation point, rule or text: " + name;
  std::string separator = " (nearest: ";
  for (const std::string& near : Nearest(document, name)) {
    line += separator + near;
    separator = "; ";
  }
  if (separator == "; ") line += ")";
  static_cast<void>(std::fprintf(stderr, "%s\n", line.c_str()));
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool StartsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

// As a fleet's report ends.
bool IsSummary(const std::string& line) {
  return line.find(" accepted, ") != std::string::npos &&
         line.find(" refused, ") != std::string::npos &&
         EndsWith(line, " failed");
}

// A line of `ipav check` that is no operator's text.
bool IsOfReport(const std::string& line) {
  return line.empty() || line[0] == ' ' || line[0] == '(' ||
         EndsWith(line, " validation calls made)") ||
         EndsWith(line, ": not judged, bad input") ||
         StartsWith(line, "the plug-in failed: ") ||
         StartsWith(line, "the plug-in threw an exception: ") ||
         IsSummary(line);
}

// Without colours, and without what pasting adds at the end.
std::string Unadorned(const std::string& line) {
  std::string plain;
  std::size_t begin = 0;
  for (std::size_t escape = line.find("\x1b["); escape != std::string::npos;
       escape = line.find("\x1b[", begin)) {
    plain += line.substr(begin, escape - begin);
    begin = line.find_first_not_of("0123456789;", escape + 2);
    if (begin == std::string::npos) return plain;
    if (line[begin] == 'm') ++begin;
  }
  plain += line.substr(begin);
  plain.erase(plain.find_last_not_of(" \t\r") + 1);
  return plain;
}

void AddTextsOfReport(const std::string& report,
                      std::vector<std::string>* names) {
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    const std::string plain = Unadorned(line);
    if (!IsOfReport(plain)) names->push_back(plain);
  }
}

void AddLines(const std::string& text, std::vector<std::string>* names) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) names->push_back(line);
  }
}

std::vector<std::string> NamesOf(const ExplainOptions& options) {
  std::vector<std::string> names;
  for (const std::string& topic : options.topics) {
    if (topic == "-") {
      AddTextsOfReport(
          datastore::ReadInput("/dev/stdin", datastore::kMaxInputSize), &names);
    } else {
      AddLines(topic, &names);
    }
  }
  return names;
}

void PrintTopic(const Locations& locations,
                const std::vector<Section>& document, const Topic& topic,
                const std::string& name) {
  if (topic.match.has_value()) {
    PrintMatch(document, *topic.match, name);
  } else if (IsPoint(*topic.section)) {
    const datastore::Model model(locations.yang_dir, locations.yang_extension);
    fmt::print("{}\n", topic.section->title);
    PrintBlocks(*topic.section);
    PrintToldTexts(document, *topic.section);
    PrintUseSites(model, *topic.section);
  } else {
    PrintMessage(document, *topic.section);
  }
}

}  // namespace

ExitStatus Explain(const Locations& locations, const ExplainOptions& options) {
  const std::vector<Section> document =
      messages::ReadDocument(locations.messages);
  if (options.topics.empty()) PrintList(document);

  ExitStatus status = kAccepted;
  bool is_first = true;
  for (const std::string& name : NamesOf(options)) {
    const Topic topic = FindTopic(document, name);
    if (topic.section == nullptr && !topic.match.has_value()) {
      ReportUnknown(document, name);
      status = kBadInput;
      continue;
    }
    if (!is_first) fmt::print("\n{}\n\n", std::string(kColumns, '-'));
    is_first = false;
    PrintTopic(locations, document, topic, name);
  }
  return status;
}

std::vector<std::string> TopicNames(const Locations& locations) {
  std::vector<std::string> names;
  for (const Section& section : messages::ReadDocument(locations.messages)) {
    if (IsTopic(section)) names.push_back(section.anchor);
  }
  return names;
}

Command AddExplain(CLI::App* app, const Locations& locations) {
  struct Values {
    Locations locations;
    ExplainOptions options;
  };
  const auto values = std::make_shared<Values>(Values{locations, {}});
  CLI::App* command = app->add_subcommand(
      "explain", "Explain a validation point, a rule or a text");
  command->footer(kNotes);
  command
      ->add_option(
          "topic", values->options.topics,
          "Name of a point or a rule, or a text; '-' for texts from standard "
          "input, one a line, such as the output of ipav check")
      ->type_name(kTopic);
  AddYang(command, &values->locations);
  return {command,
          [values] { return Explain(values->locations, values->options); }};
}

}  // namespace ipav::cli
