#include "tests/report/generated.h"

namespace ipav::testing {

namespace {

constexpr char kBegin[] = "<config xmlns=\"urn:vorplex:config\"><interface>\n";
constexpr char kEnd[] = "</interface></config>\n";

std::string Element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name + ">";
}

std::string Interface(const std::string& content) {
  return "<l3 xmlns=\"urn:vorplex:ipapp\">" + content + "</l3>\n";
}

std::string Ipv4(const std::string& prefix) {
  return Element("ipv4", Element("address", Element("ip", prefix)));
}

std::string Ipv6(const std::string& prefix) {
  return Element("ipv6", Element("address", Element("ip", prefix)));
}

// Two IPv4 interfaces are followed by an IPv6 one. Sites of 32 networks.
std::string NumberedInterface(std::size_t i) {
  const std::size_t site = i / 96;
  const std::size_t network = i % 96 / 3;
  std::string content = Element("name", "port-" + std::to_string(i));
  const char* const vrfs[] = {"", "red", "blue"};
  const std::string vrf = vrfs[i / 3 % 3];
  if (!vrf.empty()) content += Element("vrf", vrf);
  if (i % 3 == 2) {
    content += Ipv6("2001:db8:" + std::to_string(site) + ":" +
                    std::to_string(network) + "::1/64");
  } else {
    content += Ipv4("10." + std::to_string(site) + "." +
                    std::to_string(network * 2 + i % 3) + ".1/24");
  }
  return Interface(content);
}

std::string Interfaces(std::size_t prefixes) {
  std::string text;
  for (std::size_t i = 0; i < prefixes; ++i) text += NumberedInterface(i);
  return text;
}

}  // namespace

std::string Configuration(std::size_t prefixes) {
  return kBegin + Interfaces(prefixes) + kEnd;
}

std::string WithIntruder(std::size_t prefixes) {
  return kBegin + Interfaces(prefixes) +
         Interface(Element("name", "intruder") + Ipv4("10.0.0.129/25")) + kEnd;
}

}  // namespace ipav::testing
