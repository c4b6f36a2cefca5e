#include "netconf/hello.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <climits>
#include <memory>
#include <set>

namespace ipav::netconf {

namespace {

constexpr char kNamespace[] = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr char kBase10[] = "urn:ietf:params:netconf:base:1.0";
constexpr char kBase11[] = "urn:ietf:params:netconf:base:1.1";

struct DocumentDeleter {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, DocumentDeleter>;

std::string_view Text(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

bool Is(const xmlNode& node, std::string_view name) {
  return node.type == XML_ELEMENT_NODE && Text(node.name) == name &&
         node.ns != nullptr && Text(node.ns->href) == kNamespace;
}

std::string ContentOf(const xmlNode& node) {
  xmlChar* content = xmlNodeGetContent(&node);
  std::string text(Text(content));
  xmlFree(content);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

Document Parse(std::string_view text) {
  if (text.size() > INT_MAX) return nullptr;
  Document document(xmlReadMemory(
      text.data(), static_cast<int>(text.size()), "hello", nullptr,
      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  // A client has no use for entities, and others only for harm.
  if (document != nullptr && document->intSubset != nullptr) return nullptr;
  return document;
}

std::set<std::string> CapabilitiesIn(const xmlNode& hello) {
  std::set<std::string> capabilities;
  for (const xmlNode* part = hello.children; part != nullptr;
       part = part->next) {
    if (Is(*part, "session-id")) {
      throw HelloError("the hello of a client has a session-id");
    }
    if (!Is(*part, "capabilities")) continue;
    for (const xmlNode* node = part->children; node != nullptr;
         node = node->next) {
      if (Is(*node, "capability")) capabilities.insert(ContentOf(*node));
    }
  }
  return capabilities;
}

}  // namespace

Framing FramingAfter(std::string_view hello) {
  const Document document = Parse(hello);
  const xmlNode* root =
      document == nullptr ? nullptr : xmlDocGetRootElement(document.get());
  if (root == nullptr || !Is(*root, "hello")) {
    throw HelloError("the first message is no hello");
  }
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
