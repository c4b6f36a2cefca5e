#include "tests/report/generated.h"

namespace ipav::testing {

namespace {

std::string Interface(const std::string& inner, const char* family,
                      const std::string& prefix) {
  return "<l3 xmlns=\"urn:vorplex:ipapp\">" + inner + "<" + family +
         "><address><ip>" + prefix + "</ip></address></" + family + "></l3>\n";
}

// Two IPv4 interfaces are followed by an IPv6 one. Sites of 32 networks.
std::string NumberedInterface(std::size_t i) {
  const std::string site = std::to_string(i / 96);
  const std::size_t network = i % 96 / 3;
  const char* const vrfs[] = {"", "<vrf>red</vrf>", "<vrf>blue</vrf>"};
  const std::string inner =
      "<name>port-" + std::to_string(i) + "</name>" + vrfs[i / 3 % 3];
  if (i % 3 == 2) {
    return Interface(
        inner, "ipv6",
        "2001:db8:" + site + ":" + std::to_string(network) + "::1/64");
  }
  return Interface(
      inner, "ipv4",
      "10." + site + "." + std::to_string(network * 2 + i % 3) + ".1/24");
}

std::string Configuration(std::size_t prefixes, const std::string& more) {
  std::string text = "<config xmlns=\"urn:vorplex:config\"><interface>\n";
  for (std::size_t i = 0; i < prefixes; ++i) text += NumberedInterface(i);
  return text + more + "</interface></config>\n";
}

}  // namespace

std::string Configuration(std::size_t prefixes) {
  return Configuration(prefixes, "");
}

std::string WithIntruder(std::size_t prefixes) {
  return Configuration(
      prefixes, Interface("<name>intruder</name>", "ipv4", "10.0.0.129/25"));
}

}  // namespace ipav::testing
