#include "ipavd/transport/request.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <climits>

#include "host/base/c_ptr.h"
#include "netconf/framing.h"
#include "netconf/xml.h"

namespace ipav::transport {

namespace {

using netconf::Frame;
using netconf::Framing;
using netconf::XmlDocument;

constexpr std::string_view kMalformed = "<";
constexpr std::string_view kPrefix = "no-namespace-of-";

using Parser = base::CPtr<xmlParserCtxt, xmlFreeParserCtxt>;

bool IsToMark(const xmlChar* name, bool has_prefix) {
  const std::string_view text = netconf::ToView(name);
  return !has_prefix && (text == "operation" || text == "insert");
}

// What the handlers find in a message. libxml2 passes it to them as the private
// data of the parser.
struct Facts {
  bool has_root = false;
  bool has_attribute_to_mark = false;
};

// A message must not have a document type (RFC 6241, section 3).
void RefuseDocumentType(void* parser, const xmlChar* /*name*/,
                        const xmlChar* /*external_id*/,
                        const xmlChar* /*system_id*/) {
  auto* context = static_cast<xmlParserCtxt*>(parser);
  xmlStopParser(context);
  context->wellFormed = 0;
}

void LookAtAttributes(void* parser, const xmlChar* /*name*/,
                      const xmlChar* /*prefix*/, const xmlChar* /*space*/,
                      int /*namespaces*/, const xmlChar** /*declared*/,
                      int count, int /*defaulted*/,
                      const xmlChar** attributes) {
  constexpr int kParts = 5;  // name, prefix, namespace, begin and end of value
  auto& facts =
      *static_cast<Facts*>(static_cast<xmlParserCtxt*>(parser)->_private);
  // The attributes of the root are the client's own.
  for (int i = 0; facts.has_root && i < count; ++i, attributes += kParts) {
    if (IsToMark(attributes[0], attributes[1] != nullptr)) {
      facts.has_attribute_to_mark = true;
    }
  }
  facts.has_root = true;
}

// Whether the message is one element of XML, in UTF-8. Builds no tree.
bool IsWellFormed(std::string_view message, Facts* facts) {
  if (message.size() > INT_MAX ||
      message.find('\0') != std::string_view::npos) {
    return false;
  }
  const Parser parser(xmlNewParserCtxt());
  if (parser == nullptr) return false;
  xmlSAXHandler& handlers = *parser->sax;
  handlers = {};
  handlers.initialized = XML_SAX2_MAGIC;  // checks namespaces
  handlers.internalSubset = RefuseDocumentType;
  handlers.startElementNs = LookAtAttributes;
  parser->_private = facts;
  xmlCtxtReadMemory(parser.get(), message.data(),
                    static_cast<int>(message.size()), nullptr, "UTF-8",
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  return parser->wellFormed != 0 && parser->nsWellFormed != 0;
}

void MarkAttributesBelow(const xmlNode* parent) {
  for (const xmlNode* element = netconf::FirstElement(parent);
       element != nullptr; element = netconf::NextElement(element)) {
    for (xmlAttr* each = element->properties; each != nullptr;
         each = each->next) {
      if (!IsToMark(each->name, each->ns != nullptr)) continue;
      const std::string name(netconf::ToView(each->name));
      std::string marked(kPrefix);
      marked.append(name).append(":").append(name);
      xmlNodeSetName(reinterpret_cast<xmlNode*>(each),
                     reinterpret_cast<const xmlChar*>(marked.c_str()));
    }
    MarkAttributesBelow(element);
  }
}

// A copy of a well-formed message, with such attributes renamed.
std::string MarkAttributes(std::string_view message) {
  const XmlDocument document = netconf::ParseXml(message, "UTF-8");
  xmlNode* root = netconf::RootOf(document);
  if (root == nullptr) return std::string(kMalformed);
  MarkAttributesBelow(root);
  return netconf::Print(document.get(), root);
}

}  // namespace

std::string FrameRequest(std::string_view message) {
  Facts facts;
  if (!IsWellFormed(message, &facts)) {
    return Frame(Framing::kChunked, kMalformed);
  }
  return facts.has_attribute_to_mark
             ? Frame(Framing::kChunked, MarkAttributes(message))
             : Frame(Framing::kChunked, message);
}

}  // namespace ipav::transport
