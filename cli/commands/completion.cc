// ipav completion: prints the completion script of a shell.

#include <fmt/core.h>

#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/commands/explain.h"
#include "cli/completion/syntax.h"
#include "cli/options.h"

namespace ipav::cli {

namespace {

constexpr char kCompletionNotes[] =
    R"(The Debian package installs the scripts. Without it, add to the start
file of the shell:

Examples:
  source <(ipav completion bash)
  source <(ipav completion zsh)
  ipav completion fish | source)";

std::string ScriptOf(const completion::Syntax& syntax,
                     const std::string& shell) {
  if (shell == "zsh") return completion::ZshScript(syntax);
  if (shell == "fish") return completion::FishScript(syntax);
  return completion::BashScript(syntax);
}

}  // namespace

Command AddCompletion(CLI::App* app) {
  const auto shell = std::make_shared<std::string>();
  CLI::App* command = app->add_subcommand(
      "completion", "Print the completion script of a shell");
  command->footer(kCompletionNotes);
  AddChoice(command, "shell", {"bash", "zsh", "fish"}, "Name of the shell",
            shell.get())
      ->required();
  return {command,
          [=] {
            const completion::Syntax syntax =
                completion::SyntaxOf(*app, {{kTopic, TopicNames()}});
            fmt::print("{}", ScriptOf(syntax, *shell));
            return kAccepted;
          },
          false};
}

}  // namespace ipav::cli
