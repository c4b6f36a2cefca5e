// Configurations of any size.
#ifndef TESTS_REPORT_GENERATED_H_
#define TESTS_REPORT_GENERATED_H_

#include <cstddef>
#include <string>

namespace ipav::testing {

// A configuration of that many prefixes, a third of them IPv6, in the VRFs
// global, red and blue by turns, none in conflict. The first n are those of the
// configuration of n.
std::string Configuration(std::size_t prefixes);

// The same with one more interface `intruder` in global, whose 10.0.0.129/25
// lies in the first interface's 10.0.0.1/24.
std::string WithIntruder(std::size_t prefixes);

}  // namespace ipav::testing

#endif  // TESTS_REPORT_GENERATED_H_
