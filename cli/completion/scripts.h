// The scripts with which shells complete the command line.
#ifndef IPAV_CLI_COMPLETION_SCRIPTS_H_
#define IPAV_CLI_COMPLETION_SCRIPTS_H_

#include <string>

#include "cli/completion/syntax.h"

namespace ipav::cli::completion {

// Each is a whole file of its shell, for the program ipav.
std::string BashScript(const Syntax& syntax);
std::string ZshScript(const Syntax& syntax);
std::string FishScript(const Syntax& syntax);

}  // namespace ipav::cli::completion

#endif  // IPAV_CLI_COMPLETION_SCRIPTS_H_
