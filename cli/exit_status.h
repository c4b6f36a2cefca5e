// The exit status of the program.
#ifndef IPAV_CLI_EXIT_STATUS_H_
#define IPAV_CLI_EXIT_STATUS_H_

namespace ipav::cli {

enum ExitStatus {
  kAccepted = 0,
  kRefused = 1,       // by a validation point
  kBadInput = 2,      // a file or the command line is wrong
  kPluginFailed = 3,  // the plug-in died, threw, or was too slow
};

}  // namespace ipav::cli

#endif  // IPAV_CLI_EXIT_STATUS_H_
