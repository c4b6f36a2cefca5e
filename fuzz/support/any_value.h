// Values of the seam from an input's bytes: such as the daemon hands out, and
// such as it never should.
#ifndef IPAV_FUZZ_SUPPORT_ANY_VALUE_H_
#define IPAV_FUZZ_SUPPORT_ANY_VALUE_H_

#include <vector>

#include "fuzz/support/byte_reader.h"
#include "tests/support/value.h"

namespace ipav::fuzz {

// One byte decides: an even one picks a usual value, by its half; an odd one a
// type, by its half, of which the bytes that follow fill in a value. So zeros
// stand for the first usual value. There must be a usual one.
testing::Value TakeValue(ByteReader* in,
                         const std::vector<testing::Value>& usual);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_ANY_VALUE_H_
