#include <fmt/core.h>
#include <fmt/ranges.h>

#include "cli/completion/syntax.h"

namespace ipav::cli::completion {

namespace {

constexpr char kZshBegin[] = R"(#compdef ipav
# Completion of ipav, as `ipav completion zsh` prints it.
_ipav() {
  local context state state_descr line
  typeset -A opt_args
)";

constexpr char kZshEnd[] = R"(      esac
      ;;
  esac
}
if [[ $zsh_eval_context[-1] == loadautofunc ]]; then
  _ipav "$@"
else
  compdef _ipav ipav
fi
)";

// For text in quotes of the shell, with a backslash before each of `special`.
std::string Quoted(const std::string& text, const std::string& special) {
  std::string quoted;
  for (const char c : WithBackslashes(text, special)) {
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return quoted;
}

// ":FILE:_files", for _arguments.
std::string Action(const Value& value) {
  std::string action = " ";
  switch (value.kind) {
    case Value::Kind::kWord:
      action = fmt::format("({})", fmt::join(value.words, " "));
      break;
    case Value::Kind::kFile:
      action = "_files";
      break;
    case Value::Kind::kFolder:
      action = "_files -/";
      break;
    case Value::Kind::kAnything:
      break;
  }
  return ":" + Quoted(value.name, ":\\") + ":" + action;
}

// "(-j --jobs)--jobs=[Devices ...]:UINT: ": one of two names goes without the
// other, and the value may be in the same word. "*--plugin=[...": it may be
// given again.
Words SpecsOf(const Option& option) {
  Words specs;
  for (const std::string& name : option.names) {
    const bool is_long = name.compare(0, 2, "--") == 0;
    std::string spec =
        option.is_repeated
            ? "*" + name
            : fmt::format("({}){}", fmt::join(option.names, " "), name);
    if (option.has_value) spec += is_long ? "=" : "+";
    spec += "[" + Quoted(option.description, "[]\\") + "]";
    if (option.has_value) spec += Action(option.value);
    specs.push_back("'" + spec + "'");
  }
  return specs;
}

Words SpecsOf(const std::vector<Option>& options) {
  Words specs;
  for (const Option& option : options) {
    const Words own = SpecsOf(option);
    specs.insert(specs.end(), own.begin(), own.end());
  }
  return specs;
}

std::string CaseOf(const Command& command) {
  constexpr char kNextLine[] = " \\\n            ";
  Words specs = SpecsOf(command.options);
  int place = 0;
  for (const Argument& argument : command.arguments) {
    ++place;
    specs.push_back("'" + (argument.is_repeated ? "*" : std::to_string(place)) +
                    Action(argument.value) + "'");
  }
  return fmt::format(
      "        {})\n          _arguments -s -S{}{}\n          ;;\n",
      command.name, kNextLine, fmt::join(specs, kNextLine));
}

}  // namespace

std::string ZshScript(const Syntax& syntax) {
  std::string script = kZshBegin;
  script += fmt::format(
      "  _arguments -C -S {} \\\n"
      "    '1:command:->command' '*::argument:->argument' && return\n"
      "  case $state in\n    command)\n      local -a commands=(\n",
      fmt::join(SpecsOf(syntax.program.options), " "));
  for (const Command& command : syntax.commands) {
    script += fmt::format("        '{}:{}'\n", command.name,
                          Quoted(command.description, ":\\"));
  }
  script +=
      "      )\n      _describe -t commands command commands\n      ;;\n"
      "    argument)\n      case $words[1] in\n";
  for (const Command& command : syntax.commands) script += CaseOf(command);
  return script + kZshEnd;
}

}  // namespace ipav::cli::completion
