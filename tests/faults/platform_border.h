// What the border between the plug-in and the platform adds to the fake.
#ifndef IPAV_TESTS_FAULTS_PLATFORM_BORDER_H_
#define IPAV_TESTS_FAULTS_PLATFORM_BORDER_H_

#include <cstddef>

namespace ipav::faults {

// The result of a call on the fake that fails so is 0 for the plug-in: the call
// succeeds, and there is nothing: no node, no entries, no text, no changes.
inline constexpr int kFindsNothing = -1000;

// Texts that the plug-in was given and did not free, since the start of the
// process.
std::size_t UnfreedXpathAnswers();

}  // namespace ipav::faults

#endif  // IPAV_TESTS_FAULTS_PLATFORM_BORDER_H_
