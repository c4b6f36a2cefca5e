// The parts of the command line that a shell can complete, from the tree of
// subcommands and options. All scripts for shells are made from it.
#ifndef IPAV_CLI_COMPLETION_SYNTAX_H_
#define IPAV_CLI_COMPLETION_SYNTAX_H_

#include <CLI/App.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace ipav::cli::completion {

using Words = std::vector<std::string>;

// The value of an option, or an argument.
struct Value {
  enum class Kind : std::uint8_t { kAnything, kWord, kFile, kFolder };
  Kind kind = Kind::kAnything;
  std::string name;  // "FILE", "candidate"
  Words words;       // of kWord; no shell needs quotes for them
};

struct Option {
  Words names;  // "-j", "--jobs"; short ones first
  std::string description;
  bool has_value = false;
  bool is_repeated = false;
  Value value;
};

struct Argument {
  Value value;
  bool is_repeated = false;  // the last one
};

struct Command {
  std::string name;
  std::string description;
  std::vector<Option> options;
  std::vector<Argument> arguments;
};

struct Syntax {
  Command program;  // its argument is the name of a command
  std::vector<Command> commands;
};

// A value is a file or a folder if its type has such a name. It is a word if a
// validator has a list of words, or `words_of` has one for the type. Throws
// std::logic_error for a word that needs quotes in a shell.
Syntax SyntaxOf(const CLI::App& app,
                const std::map<std::string, Words>& words_of);

// The text with a backslash before each of the `special` characters.
std::string WithBackslashes(const std::string& text,
                            const std::string& special);

// Each is a whole file of its shell, for the program ipav.
std::string BashScript(const Syntax& syntax);
std::string ZshScript(const Syntax& syntax);
std::string FishScript(const Syntax& syntax);

}  // namespace ipav::cli::completion

#endif  // IPAV_CLI_COMPLETION_SYNTAX_H_
