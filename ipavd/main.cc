// ipavd: a NETCONF server that runs the validation plug-in before each commit.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "host/base/installation.h"
#include "ipavd/command_line.h"
#include "ipavd/serve.h"

namespace {

constexpr int kCannotServe = 2;

ipav::server::ServeOptions DefaultOptions() {
  const ipav::base::Installation found = ipav::base::FindInstallation();
  ipav::server::ServeOptions options;
  options.plugin = found.plugin;
  options.yang_extension = found.yang_extension;
  options.yang_dir = found.share + "/ipav/yang";
  options.netconf_yang_dir = found.share + "/ipavd/netconf";
  return options;
}

int Run(int argc, const char* const* argv) {
  ipav::server::ServeOptions options = DefaultOptions();
  CLI::App app("Serves the embedded host over NETCONF.", "ipavd");
  app.set_version_flag("--version", IPAV_VERSION);
  ipav::server::AddOptions(&app, &options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    return app.exit(success);  // --help and --version
  } catch (const CLI::ParseError& error) {
    throw std::runtime_error(std::string(error.what()) + " (see ipavd --help)");
  }
  ipav::server::Serve(options);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "ipavd: %s\n", error.what()));
    return kCannotServe;
  }
}
