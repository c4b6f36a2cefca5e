// Values of the seam, made from an input's bytes: values that the daemon
// returns, and values that it never should.
#ifndef IPAV_FUZZ_SUPPORT_ANY_VALUE_H_
#define IPAV_FUZZ_SUPPORT_ANY_VALUE_H_

#include <vector>

#include "fuzz/support/byte_reader.h"
#include "tests/support/value.h"

namespace ipav::fuzz {

// One byte decides. Half of an even byte is the index of a usual value; half of
// an odd byte is the index of a type, and the following bytes fill in a value
// of it. Zero is thus the first usual value; there must be at least one.
testing::Value TakeValue(ByteReader* in,
                         const std::vector<testing::Value>& usual);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_ANY_VALUE_H_
