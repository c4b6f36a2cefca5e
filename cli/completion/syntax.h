// What a shell can complete of the command line, as the tree of subcommands and
// options has it: the one source of the scripts for all shells.
#ifndef IPAV_CLI_COMPLETION_SYNTAX_H_
#define IPAV_CLI_COMPLETION_SYNTAX_H_

#include <CLI/App.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace ipav::cli::completion {

using Words = std::vector<std::string>;

// What stands behind an option, or by itself.
struct Value {
  enum class Kind : std::uint8_t { kAnything, kWord, kFile, kFolder };
  Kind kind = Kind::kAnything;
  std::string name;  // "FILE", "candidate"
  Words words;       // of kWord; none of them needs a quote in any shell
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

// A value is a file or a folder when its type has such a name, and a word when
// a validator knows all words, or `words_of` those of the type. Throws
// std::logic_error for a word that a shell could take apart.
Syntax SyntaxOf(const CLI::App& app,
                const std::map<std::string, Words>& words_of);

}  // namespace ipav::cli::completion

#endif  // IPAV_CLI_COMPLETION_SYNTAX_H_
