#include "fuzz/support/outcome.h"

#include <algorithm>
#include <boost/system/system_error.hpp>
#include <cstring>
#include <stdexcept>

#include "fuzz/support/assertions.h"
#include "fuzz/support/finding.h"
#include "include/validate.h"
#include "messages/match.h"

namespace ipav::fuzz {

namespace {

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

Ending EndingOf(int verdict) {
  if (verdict == 0) return Ending::kAccepted;
  Require(verdict == -1, "verdict is neither 0 nor -1");
  return Ending::kRefused;
}

}  // namespace

const std::vector<std::string>& ValidationPoints() {
  static const std::vector<std::string> points = {
      "intf_l3_name_validation",
      "intf_vrf_validation",
      "ipv4_addr_validation",
      "ipv4_addr_prot_cross_validation",
      "ipv4_addr_route_validation",
      "ipv6_addr_validation",
      "ipv6_addr_route_validation",
      "validate_ipv6_nd_ra_interval",
      "validate_ipv6_nd_ra_lifetime",
      "static_route_l3_intf_validation",
      "lower_layer_prot_cross_validation",
  };
  return points;
}

Ending CallValidate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                    confd_value_t* newval, Assertions assertions) {
  try {
    return EndingOf(validate(tctx, keypath, newval));
  } catch (const AssertionFailed& failed) {
    if (assertions == Assertions::kLegal) return Ending::kAssertion;
    Finding("assertion " + failed.expression);
  } catch (const boost::system::system_error&) {
    return Ending::kNoAddress;
  } catch (const std::invalid_argument& error) {
    if (std::strcmp(error.what(), "stoul") != 0) throw;
    return Ending::kNoNumber;
  } catch (const std::out_of_range& error) {
    if (std::strcmp(error.what(), "stoul") == 0) {
      return Ending::kNumberTooLarge;
    }
    if (!BeginsWith(error.what(), "basic_string::replace:")) throw;
    return Ending::kShortName;
  }
}

void RequireKnownText(const std::string& point, const std::string& text) {
  const messages::Point* known = messages::FindPoint(point);
  const std::vector<messages::Reading> readings = messages::ReadText(text);
  if (known != nullptr &&
      std::any_of(readings.begin(), readings.end(), [&](const auto& reading) {
        return messages::Reports(*known, *reading.text);
      })) {
    return;
  }
  Finding("unknown text of " + point + ": " + text);
}

}  // namespace ipav::fuzz
