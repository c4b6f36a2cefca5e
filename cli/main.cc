// ipav: validates IP configurations with the validation plug-in, without a
// configuration daemon.

#include "cli/program.h"

int main(int argc, char** argv) {
  return ipav::cli::RunProgram({argv + 1, argv + argc});
}
