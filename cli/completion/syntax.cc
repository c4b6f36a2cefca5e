#include "cli/completion/syntax.h"

#include <CLI/StringTools.hpp>
#include <stdexcept>

#include "cli/options.h"

namespace ipav::cli::completion {

namespace {

void ExpectPlain(const std::string& word) {
  const bool is_plain =
      word.find_first_not_of(
          "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
          "0123456789._-") == std::string::npos;
  if (!is_plain || word.empty()) {
    throw std::logic_error("no word to complete: " + word);
  }
}

// A type with a validator of words reads "TEXT:{xml,json}".
Value ValueOf(const CLI::Option& option,
              const std::map<std::string, Words>& words_of) {
  const std::string type = option.get_type_name();
  const std::size_t colon = type.find(':');
  Value value;
  value.name = type.substr(0, colon);
  const auto known = words_of.find(value.name);
  if (value.name == kFile) {
    value.kind = Value::Kind::kFile;
  } else if (value.name == kFolder) {
    value.kind = Value::Kind::kFolder;
  } else if (known != words_of.end()) {
    value.kind = Value::Kind::kWord;
    value.words = known->second;
  } else if (type.find(":{") == colon && type.back() == '}') {
    value.kind = Value::Kind::kWord;
    value.words = CLI::detail::split(
        type.substr(colon + 2, type.size() - colon - 3), ',');
  }
  for (const std::string& word : value.words) ExpectPlain(word);
  return value;
}

Words NamesOf(const CLI::Option& option) {
  Words names;
  for (const std::string& name : option.get_snames()) {
    names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    names.push_back("--" + name);
  }
  return names;
}

Command CommandOf(const CLI::App& app,
                  const std::map<std::string, Words>& words_of) {
  Command command{app.get_name(), app.get_description(), {}, {}};
  for (const CLI::Option* option : app.get_options()) {
    Value value = ValueOf(*option, words_of);
    if (option->get_positional()) {
      value.name = option->get_name(true);
      command.arguments.push_back({value, option->get_expected_max() > 1});
    } else {
      command.options.push_back({NamesOf(*option), option->get_description(),
                                 option->get_items_expected_max() > 0,
                                 option->get_expected_max() > 1, value});
    }
  }
  return command;
}

}  // namespace

std::string WithBackslashes(const std::string& text,
                            const std::string& special) {
  std::string result;
  for (const char c : text) {
    if (special.find(c) != std::string::npos) result += '\\';
    result += c;
  }
  return result;
}

Syntax SyntaxOf(const CLI::App& app,
                const std::map<std::string, Words>& words_of) {
  Syntax syntax;
  syntax.program = CommandOf(app, words_of);
  Value names{Value::Kind::kWord, "command", {}};
  for (const CLI::App* subcommand : app.get_subcommands(nullptr)) {
    syntax.commands.push_back(CommandOf(*subcommand, words_of));
    names.words.push_back(subcommand->get_name());
  }
  syntax.program.arguments.push_back({names, false});
  return syntax;
}

}  // namespace ipav::cli::completion
