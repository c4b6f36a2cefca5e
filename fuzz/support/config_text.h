// What the targets of configuration texts have in common.
#ifndef IPAV_FUZZ_SUPPORT_CONFIG_TEXT_H_
#define IPAV_FUZZ_SUPPORT_CONFIG_TEXT_H_

#include <string>

namespace ipav::fuzz {

// Reads a configuration as `ipav check` does. One that is accepted finds its
// entries by their keys, reads back from what libyang prints of it, does not
// differ from itself, has as many changes from another one as to it, and goes
// through the commits from the empty and the small configuration to it, and
// back.
void JudgeText(const std::string& text);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_CONFIG_TEXT_H_
