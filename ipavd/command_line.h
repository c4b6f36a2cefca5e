// The command line of ipavd.
#ifndef IPAV_IPAVD_COMMAND_LINE_H_
#define IPAV_IPAVD_COMMAND_LINE_H_

#include <CLI/App.hpp>

#include "ipavd/serve.h"

namespace ipav::server {

// Adds the options of ipavd to `app`. Parsing writes into `options`, whose
// values are the defaults.
void AddOptions(CLI::App* app, ServeOptions* options);

}  // namespace ipav::server

#endif  // IPAV_IPAVD_COMMAND_LINE_H_
