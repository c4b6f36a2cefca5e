#include "netconf/hello.h"

#include <set>

#include "netconf/xml.h"

namespace ipav::netconf {

namespace {

constexpr char kNamespace[] = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr char kBase10[] = "urn:ietf:params:netconf:base:1.0";
constexpr char kBase11[] = "urn:ietf:params:netconf:base:1.1";

bool Is(const xmlNode& node, std::string_view name) {
  return ToView(node.name) == name && node.ns != nullptr &&
         ToView(node.ns->href) == kNamespace;
}

std::string Trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

std::set<std::string> CapabilitiesIn(const xmlNode& hello) {
  std::set<std::string> capabilities;
  for (const xmlNode* part = FirstElement(&hello); part != nullptr;
       part = NextElement(part)) {
    if (Is(*part, "session-id")) {
      throw HelloError("the hello of a client has a session-id");
    }
    if (!Is(*part, "capabilities")) continue;
    for (const xmlNode* node = FirstElement(part); node != nullptr;
         node = NextElement(node)) {
      if (Is(*node, "capability"))
        capabilities.insert(Trimmed(ContentOf(node)));
    }
  }
  return capabilities;
}

}  // namespace

Framing FramingAfter(std::string_view hello) {
  // 1. Parse the hello. It must not have a document type, hence no entities.
  const XmlDocument document = ParseXml(hello);
  const xmlNode* root = RootOf(document);
  if (root == nullptr || document->intSubset != nullptr ||
      !Is(*root, "hello")) {
    throw HelloError("the first message is no hello");
  }
  // 2. Take the newest version that both sides support.
  const std::set<std::string> capabilities = CapabilitiesIn(*root);
  if (capabilities.count(kBase11) != 0) return Framing::kChunked;
  if (capabilities.count(kBase10) != 0) return Framing::kEndOfMessage;
  throw HelloError("the hello names neither NETCONF 1.0 nor 1.1");
}

std::string ClientHello() {
  return std::string("<hello xmlns=\"") + kNamespace +
         "\"><capabilities><capability>" + kBase11 +
         "</capability></capabilities></hello>";
}

}  // namespace ipav::netconf
