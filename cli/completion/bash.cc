#include <fmt/core.h>
#include <fmt/ranges.h>

#include "cli/completion/syntax.h"

namespace ipav::cli::completion {

namespace {

constexpr char kBashBegin[] =
    R"(# Completion of ipav, as `ipav completion bash` prints it.
_ipav() {
  local current=${COMP_WORDS[COMP_CWORD]}
  local previous=${COMP_WORDS[COMP_CWORD - 1]}
  # --option=value comes as three words.
  if [[ $current == = ]]; then
    current=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  local word command=
  for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
    [[ $word == -* ]] && continue
    command=$word
    break
  done

  # What there is to complete: options, and values of a kind.
  local options= kind= words=
  case $command in
)";

constexpr char kBashEnd[] = R"(  esac

  COMPREPLY=()
  if [[ -n $options && $current == -* ]]; then
    kind=words words=$options
  fi
  case $kind in
    words) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current") ;;
    files) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    folders) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
  esac
  if [[ $kind == files || $kind == folders ]]; then
    compopt -o filenames 2>/dev/null
  fi
}
complete -F _ipav ipav
)";

// Assignments to variables of the script, each after a blank.
std::string Assigned(const Value& value) {
  switch (value.kind) {
    case Value::Kind::kWord:
      return fmt::format(" kind=words words='{}'", fmt::join(value.words, " "));
    case Value::Kind::kFile:
      return " kind=files";
    case Value::Kind::kFolder:
      return " kind=folders";
    case Value::Kind::kAnything:
      break;
  }
  return " kind=";
}

// All arguments of a command are of one kind: use the first.
std::string CaseOf(const std::string& pattern, const Command& command) {
  Words names;
  std::string values;
  for (const Option& option : command.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
    if (!option.has_value) continue;
    values +=
        fmt::format("        {}) options={} ;;\n",
                    fmt::join(option.names, " | "), Assigned(option.value));
  }
  std::string text = fmt::format("    {})\n      options='{}'", pattern,
                                 fmt::join(names, " "));
  if (!command.arguments.empty()) {
    text += Assigned(command.arguments.front().value);
  }
  text += "\n";
  if (!values.empty()) {
    text += "      case $previous in\n" + values + "      esac\n";
  }
  return text + "      ;;\n";
}

}  // namespace

std::string BashScript(const Syntax& syntax) {
  std::string script = kBashBegin + CaseOf("''", syntax.program);
  for (const Command& command : syntax.commands) {
    script += CaseOf(command.name, command);
  }
  return script + kBashEnd;
}

}  // namespace ipav::cli::completion
