// The legal outcomes of a call of the plug-in's validate(), on any platform.
#ifndef IPAV_FUZZ_SUPPORT_OUTCOME_H_
#define IPAV_FUZZ_SUPPORT_OUTCOME_H_

#include <confd_lib.h>

#include <string>
#include <vector>

namespace ipav::fuzz {

// The legal exceptions are those of the OSPFv2 table's texts and of a short
// output interface name; nothing in the plug-in catches them.
enum class Ending {
  kAccepted,
  kRefused,
  kAssertion,
  kNoNumber,        // std::invalid_argument of "stoul"
  kNumberTooLarge,  // std::out_of_range of "stoul"
  kNoAddress,       // boost::system::system_error
  kShortName,       // std::out_of_range of a string's replace()
};

// The names that an opaque text may begin with, in the order of the table.
const std::vector<std::string>& ValidationPoints();

// Whether the assertions that are known (assertions.h) may fail.
enum class Assertions : unsigned char { kIllegal, kLegal };

// Calls validate(). A result other than 0 and -1 and any other way to leave the
// call are findings.
Ending CallValidate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                    confd_value_t* newval, Assertions assertions);

// A text that the catalogue has not for this validation point is a finding.
void RequireKnownText(const std::string& point, const std::string& text);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_OUTCOME_H_
