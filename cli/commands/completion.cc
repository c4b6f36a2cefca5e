#include "cli/commands/completion.h"

#include <fmt/core.h>

#include "cli/command_line/types.h"
#include "cli/commands/explain.h"
#include "cli/completion/scripts.h"
#include "cli/completion/syntax.h"

namespace ipav::cli {

namespace {

std::string ScriptOf(const completion::Syntax& syntax,
                     const std::string& shell) {
  if (shell == "zsh") return completion::ZshScript(syntax);
  if (shell == "fish") return completion::FishScript(syntax);
  return completion::BashScript(syntax);
}

}  // namespace

ExitStatus PrintCompletion(const Locations& locations, const CLI::App& app,
                           const std::string& shell) {
  const completion::Syntax syntax = completion::SyntaxOf(
      app, {{command_line::kTopic, TopicNames(locations)}});
  fmt::print("{}", ScriptOf(syntax, shell));
  return kAccepted;
}

}  // namespace ipav::cli
