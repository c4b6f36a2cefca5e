// XML texts as files for `ipav check`: read, compared, and validated in a whole
// commit.
//
// Legal: an InputError of one line that names the file; or a configuration, and
// for each call of the commit's plan verdict 0, or -1 with one text of the
// point, or the exceptions of the OSPFv2 table's texts and of a short output
// interface name. No assertion: data that the model accepts has the right
// types.
//
// Input: the file.

#include <string>

#include "fuzz/support/config_text.h"
#include "fuzz/support/target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ipav::fuzz::JudgeText(std::string(data, data + size));
  return 0;
}
