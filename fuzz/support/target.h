// Entry point of every fuzz target, with the name that libFuzzer and the replay
// main (replay_main.cc) call.
#ifndef IPAV_FUZZ_SUPPORT_TARGET_H_
#define IPAV_FUZZ_SUPPORT_TARGET_H_

#include <cstddef>
#include <cstdint>

// Returns 0 after a legal outcome; a finding ends the process. Must not depend
// on previous inputs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size);

#endif  // IPAV_FUZZ_SUPPORT_TARGET_H_
