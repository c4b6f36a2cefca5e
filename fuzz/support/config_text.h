// The common part of the targets of configuration texts.
#ifndef IPAV_FUZZ_SUPPORT_CONFIG_TEXT_H_
#define IPAV_FUZZ_SUPPORT_CONFIG_TEXT_H_

#include <string>

namespace ipav::fuzz {

// Reads a configuration as `ipav check` does. If it is accepted: its entries
// are found by their keys, it can be read back from libyang's print of it, it
// does not differ from itself, it has as many changes from another one as to
// it, and the commits from the empty and the small configuration to it, and
// back, are run.
void JudgeText(const std::string& text);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_CONFIG_TEXT_H_
