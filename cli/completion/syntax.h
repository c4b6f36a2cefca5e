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
  Words short_names;  // "-j"
  Words long_names;   // "--jobs"
  std::string description;
  bool has_value = false;
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

}  // namespace ipav::cli::completion

#endif  // IPAV_CLI_COMPLETION_SYNTAX_H_
