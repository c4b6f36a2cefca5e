#include <fmt/core.h>
#include <fmt/ranges.h>

#include "cli/completion/syntax.h"

namespace ipav::cli::completion {

namespace {

constexpr char kFishBegin[] =
    R"(# Completion of ipav, as `ipav completion fish` prints it.
function __ipav_command
    for word in (commandline -opc)[2..]
        if not string match -q -- '-*' $word
            echo $word
            return 0
        end
    end
    return 1
end
complete -c ipav -f
)";

std::string Quoted(const std::string& text) {
  return "'" + WithBackslashes(text, "'\\") + "'";
}

std::string Completed(const Value& value) {
  switch (value.kind) {
    case Value::Kind::kWord:
      return fmt::format(" -a '{}'", fmt::join(value.words, " "));
    case Value::Kind::kFile:
      return " -F";
    case Value::Kind::kFolder:
      return " -a '(__fish_complete_directories)'";
    case Value::Kind::kAnything:
      break;
  }
  return "";
}

std::string LineOf(const std::string& condition, const Option& option) {
  std::string line = "complete -c ipav -n " + condition;
  for (const std::string& name : option.names) {
    line += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (option.has_value) {
    const bool is_file = option.value.kind == Value::Kind::kFile;
    line += (is_file ? " -r" : " -x") + Completed(option.value);
  }
  return line + " -d " + Quoted(option.description) + "\n";
}

// All arguments of a command are of one kind: use the first.
std::string LinesOf(const std::string& condition, const Command& command) {
  std::string lines;
  for (const Option& option : command.options) {
    lines += LineOf(condition, option);
  }
  if (!command.arguments.empty()) {
    const std::string completed = Completed(command.arguments.front().value);
    if (!completed.empty()) {
      lines += "complete -c ipav -n " + condition + completed + "\n";
    }
  }
  return lines;
}

}  // namespace

std::string FishScript(const Syntax& syntax) {
  const std::string no_command = "'not __ipav_command >/dev/null'";
  std::string script = kFishBegin;
  for (const Option& option : syntax.program.options) {
    script += LineOf(no_command, option);
  }
  for (const Command& command : syntax.commands) {
    script += fmt::format("complete -c ipav -n {} -a {} -d {}\n", no_command,
                          command.name, Quoted(command.description));
  }
  for (const Command& command : syntax.commands) {
    script +=
        LinesOf("'contains -- " + command.name + " (__ipav_command)'", command);
  }
  return script;
}

}  // namespace ipav::cli::completion
