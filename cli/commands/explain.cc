// ipav explain: what a validation point tests, or what a text means, from the
// catalogue of messages and the data model.

#include "cli/commands/explain.h"

#include <fmt/format.h>

#include <CLI/App.hpp>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/shared_model.h"
#include "cli/similar_names.h"
#include "host/base/utf8.h"
#include "host/datastore/input_file.h"
#include "host/datastore/model.h"
#include "messages/catalogue.h"
#include "messages/match.h"

namespace ipav::cli {

namespace {

constexpr char kExplainNotes[] =
    R"(A text is a message as an operator saw it, with interfaces and
addresses. A rule has two names: its heading in docs/messages.md, and
its name in findings and SARIF. Without a topic, the validation points
and rules are listed.

Examples:
  ipav explain ipv4_addr_validation
  ipav explain overlap
  ipav explain interface-overlap
  ipav explain 'l3 a has duplicated IPv4 address 10.0.0.1'
  ipav check --running running.xml candidate.xml | ipav explain -
  ipav explain --format json overlap

Exit status: 0 explained, 2 a topic is unknown.)";

using messages::Message;
using messages::Point;
using messages::Reading;
using messages::Text;
using nlohmann::ordered_json;

constexpr std::size_t kTextColumns = 78;

// Prints a paragraph with `first` before its first line and as many blanks
// before the others.
void PrintWrapped(const std::string& first, const std::string& text) {
  const std::string indent(first.size(), ' ');
  std::string line = first;
  bool is_empty = true;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (!is_empty && line.size() + 1 + word.size() > kTextColumns) {
      fmt::print("{}\n", line);
      line = indent;
      is_empty = true;
    }
    line += (is_empty ? "" : " ") + word;
    is_empty = false;
  }
  fmt::print("{}\n", line);
}

// Prints each paragraph after an empty line, indented.
void PrintParagraphs(const std::vector<std::string>& paragraphs) {
  for (const std::string& paragraph : paragraphs) {
    fmt::print("\n");
    PrintWrapped("  ", paragraph);
  }
}

// ---- A message or a text ---------------------------------------------------

void PrintMessage(const Message& message) {
  fmt::print("{} ({})\n\n", message.title, message.anchor);
  for (const Text& text : message.texts) fmt::print("  {}\n", text.shown);
  PrintParagraphs(message.about);
  if (!message.advice.empty()) {
    PrintParagraphs({"What to do: " + message.advice});
  }
  PrintParagraphs(message.why);

  fmt::print("\n");
  const std::vector<std::string> points = messages::PointsOf(message);
  if (!points.empty())
    PrintWrapped("  Reported by: ", fmt::format("{}", fmt::join(points, ", ")));
  fmt::print("  See also: docs/messages.md#{}\n", message.anchor);
}

// The values that a field has in the readings, each once.
std::string ValuesOf(const std::string& field,
                     const std::vector<Reading>& readings) {
  std::vector<std::string> values;
  for (const Reading& reading : readings) {
    const std::string& value = reading.Field(field);
    const std::string shown = value.empty() ? "empty" : base::Printable(value);
    if (std::find(values.begin(), values.end(), shown) == values.end()) {
      values.push_back(shown);
    }
  }
  return fmt::format("{}", fmt::join(values, ", or "));
}

// Prints a text with the values of its fields. All readings are of one text.
void PrintReadings(const std::vector<Reading>& readings,
                   const std::string& printed) {
  fmt::print("{}\n\n", base::Printable(printed));
  bool has_fields = false;
  for (const auto& [field, value] : readings.front().fields) {
    const std::string mark = "<" + field + ">";
    // A limit of the element is shown as its number.
    if (readings.front().text->shown.find(mark) == std::string::npos) continue;
    fmt::print("  {} is {}\n", mark, ValuesOf(field, readings));
    has_fields = true;
  }
  if (has_fields) fmt::print("\n");
  PrintMessage(*readings.front().message);
}

// ---- A point ---------------------------------------------------------------

void PrintReportedTexts(const Point& point) {
  fmt::print("\nTexts\n");
  for (const std::string& rule : point.reports) {
    const Message& message = *messages::FindMessage(rule);
    fmt::print("\n  {} ({})\n", message.title, message.anchor);
    for (const Text& text : message.texts) {
      if (messages::Reports(point, text)) fmt::print("    {}\n", text.shown);
    }
    for (const std::string& why : message.why) PrintWrapped("    ", why);
  }
}

void PrintUseSites(const datastore::Model& model, const Point& point) {
  fmt::print("\nWhere the data model has it, and what runs it\n");
  for (const datastore::UseSite& site : model.use_sites()) {
    // A use site may append to the name.
    if (site.opaque.rfind(point.name, 0) != 0) continue;
    fmt::print("\n  {}, {}\n", site.path,
               site.call_once ? "once for the list" : "for each");
    if (site.dependencies.empty()) fmt::print("    every commit\n");
    for (const datastore::Dependency& dependency : site.dependencies) {
      fmt::print("    a change in {}\n",
                 datastore::SchemaPath(site, dependency));
    }
  }
}

void PrintPoint(const Locations& locations, const Point& point) {
  const datastore::Model& model = SharedModel(locations);
  fmt::print("{}\n", point.name);
  PrintParagraphs({point.about});
  fmt::print("\n");
  for (std::size_t i = 0; i < point.steps.size(); ++i) {
    PrintWrapped(fmt::format("  {}. ", i + 1), point.steps[i]);
  }
  PrintReportedTexts(point);
  PrintUseSites(model, point);
}

// ---- JSON ------------------------------------------------------------------

ordered_json JsonOf(const Message& message) {
  std::vector<std::string> texts;
  for (const Text& text : message.texts) texts.push_back(text.shown);
  return {{"rule", message.rule},     {"title", message.title},
          {"anchor", message.anchor}, {"texts", texts},
          {"about", message.about},   {"advice", message.advice},
          {"why", message.why},       {"points", messages::PointsOf(message)}};
}

// Where the data model has the point.
ordered_json UsesOf(const Point& point, const Locations& locations) {
  auto uses = ordered_json::array();
  for (const datastore::UseSite& site : SharedModel(locations).use_sites()) {
    // A use site may append to the name.
    if (site.opaque.rfind(point.name, 0) != 0) continue;
    auto changes = ordered_json::array();
    for (const datastore::Dependency& dependency : site.dependencies) {
      changes.push_back(datastore::SchemaPath(site, dependency));
    }
    uses.push_back({{"path", site.path},
                    {"callOnce", site.call_once},
                    {"dependencies", changes}});
  }
  return uses;
}

// Null for an unknown topic.
ordered_json ExplainAsJson(const Locations& locations,
                           const std::string& topic) {
  ordered_json json = {{"topic", topic}};
  if (const Point* point = messages::FindPoint(topic)) {
    json.update({{"point", point->name},
                 {"about", {point->about}},
                 {"steps", point->steps},
                 {"rules", point->reports},
                 {"uses", UsesOf(*point, locations)}});
    return json;
  }
  if (const Message* message = messages::FindMessage(topic)) {
    json.update(JsonOf(*message));
    return json;
  }
  const auto readings = messages::BestReadings(topic);
  if (readings.empty()) return nullptr;
  json.update(JsonOf(*readings.front().message));
  for (const Reading& reading : readings) {
    auto fields = ordered_json::object();
    for (const auto& [field, value] : reading.fields) fields[field] = value;
    json["readings"].push_back(fields);
  }
  return json;
}

// ---- Topics ----------------------------------------------------------------

void PrintList() {
  fmt::print("Validation points\n");
  for (const Point& point : messages::Points()) {
    const std::size_t end =
        std::min(point.about.find(". "), point.about.size() - 1);
    fmt::print("  {}\n", point.name);
    PrintWrapped("    ", point.about.substr(0, end + 1));
  }
  fmt::print("\nRules\n");
  for (const Message& message : messages::Messages()) {
    fmt::print("  {:<38}{}\n", message.anchor, message.title);
  }
}

// Every name that a topic may have.
std::vector<std::string> AllNames() {
  std::vector<std::string> names = TopicNames();
  for (const Message& message : messages::Messages()) {
    names.push_back(message.rule);
    for (const Text& text : message.texts) names.push_back(text.shown);
  }
  return names;
}

// The most similar names, with only one of the two names of a rule.
std::vector<std::string> Nearest(const std::string& name) {
  constexpr std::size_t kSuggestions = 3;
  const std::vector<std::string> alike =
      MostAlike(AllNames(), name, 2 * kSuggestions);
  std::vector<std::string> nearest;
  for (const std::string& one : alike) {
    const Message* message = messages::FindMessage(one);
    const bool is_there =
        message != nullptr && one != message->anchor &&
        std::find(alike.begin(), alike.end(), message->anchor) != alike.end();
    if (!is_there && nearest.size() < kSuggestions) nearest.push_back(one);
  }
  return nearest;
}

void ReportUnknown(const std::string& name) {
  const std::vector<std::string> nearest = Nearest(name);
  std::string line = "ipav: no validation point, rule or text: " + name;
  if (!nearest.empty()) {
    line += fmt::format(" (nearest: {})", fmt::join(nearest, "; "));
  }
  static_cast<void>(
      std::fprintf(stderr, "%s\n", base::Printable(line).c_str()));
}

// The lines of all topics. A topic "-" stands for the texts of standard input.
std::vector<std::string> NamesOf(const std::vector<std::string>& topics) {
  std::vector<std::string> names;
  for (const std::string& topic : topics) {
    if (topic == "-") {
      for (std::string& text : TextsOfReport(datastore::ReadInput(
               datastore::kStandardInput, datastore::kMaxInputSize))) {
        names.push_back(std::move(text));
      }
      continue;
    }
    std::istringstream lines(topic);
    for (std::string line; std::getline(lines, line);) {
      if (!line.empty()) names.push_back(line);
    }
  }
  return names;
}

// Returns the function that prints a topic; an empty one for an unknown topic.
std::function<void()> PrinterOf(const Locations& locations,
                                const std::string& name) {
  if (const Point* point = messages::FindPoint(name)) {
    return [&locations, point] { PrintPoint(locations, *point); };
  }
  if (const Message* message = messages::FindMessage(name)) {
    return [message] { PrintMessage(*message); };
  }
  std::vector<Reading> readings = messages::BestReadings(name);
  if (readings.empty()) return nullptr;
  return
      [readings = std::move(readings), name] { PrintReadings(readings, name); };
}

// Returns whether all topics are known.
bool PrintAsJson(const Locations& locations,
                 const std::vector<std::string>& names) {
  auto explained = ordered_json::array();
  bool are_known = true;
  for (const std::string& name : names) {
    ordered_json json = ExplainAsJson(locations, name);
    if (json.is_null()) {
      ReportUnknown(name);
      are_known = false;
    } else {
      explained.push_back(std::move(json));
    }
  }
  fmt::print("{}\n", explained.dump(2, ' ', false,
                                    ordered_json::error_handler_t::replace));
  return are_known;
}

// Without topics, lists the names. Returns kBadInput if a topic is unknown, but
// explains the others.
ExitStatus Explain(const Locations& locations,
                   const std::vector<std::string>& topics, bool as_json) {
  if (as_json) {
    const bool are_known =
        PrintAsJson(locations, topics.empty() ? TopicNames() : NamesOf(topics));
    return are_known ? kAccepted : kBadInput;
  }
  if (topics.empty()) PrintList();

  ExitStatus status = kAccepted;
  bool is_first = true;
  for (const std::string& name : NamesOf(topics)) {
    const std::function<void()> print = PrinterOf(locations, name);
    if (print == nullptr) {
      ReportUnknown(name);
      status = kBadInput;
      continue;
    }
    if (!is_first) fmt::print("\n{}\n\n", std::string(kTextColumns, '-'));
    is_first = false;
    print();
  }
  return status;
}

}  // namespace

std::vector<std::string> TopicNames() {
  std::vector<std::string> names;
  for (const Message& message : messages::Messages()) {
    names.push_back(message.anchor);
  }
  for (const Point& point : messages::Points()) names.push_back(point.name);
  return names;
}

Command AddExplain(CLI::App* app, const Locations& locations) {
  struct Values {
    Locations locations;
    std::vector<std::string> topics;
    std::string format = "text";
  };
  const auto values = std::make_shared<Values>(Values{locations, {}});
  CLI::App* command = app->add_subcommand(
      "explain", "Explain a validation point, a rule or a text");
  command->footer(kExplainNotes);
  command
      ->add_option(
          "topic", values->topics,
          "Name of a point or a rule, or a text; '-' for texts from standard "
          "input, one per line, such as the output of ipav check")
      ->type_name(kTopic);
  AddChoice(command, "--format", {"text", "json"}, "text or json",
            &values->format);
  AddYang(command, &values->locations);
  return {command, [values] {
            return Explain(values->locations, values->topics,
                           values->format == "json");
          }};
}

}  // namespace ipav::cli
