#include "ipavd/transport/request.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <climits>
#include <memory>

#include "ipavd/transport/attributes.h"
#include "netconf/framing.h"

namespace ipav::transport {

namespace {

using netconf::Frame;
using netconf::Framing;

constexpr std::string_view kMalformed = "<";

struct ParserDeleter {
  void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};
using Parser = std::unique_ptr<xmlParserCtxt, ParserDeleter>;

// A message may declare none (RFC 6241, section 3).
void RefuseDocumentType(void* parser, const xmlChar* /*name*/,
                        const xmlChar* /*external_id*/,
                        const xmlChar* /*system_id*/) {
  auto* context = static_cast<xmlParserCtxt*>(parser);
  xmlStopParser(context);
  context->wellFormed = 0;
}

// Whether the message is one element of XML, in UTF-8. Makes no tree of it.
bool IsWellFormed(std::string_view message) {
  if (message.size() > INT_MAX ||
      message.find('\0') != std::string_view::npos) {
    return false;
  }
  const Parser parser(xmlNewParserCtxt());
  if (parser == nullptr) return false;
  xmlSAXHandler& handlers = *parser->sax;
  handlers = {};
  handlers.initialized = XML_SAX2_MAGIC;  // it looks at namespaces
  handlers.internalSubset = RefuseDocumentType;
  xmlCtxtReadMemory(parser.get(), message.data(),
                    static_cast<int>(message.size()), nullptr, "UTF-8",
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  return parser->wellFormed != 0 && parser->nsWellFormed != 0;
}

}  // namespace

std::string FrameRequest(std::string_view message) {
  return IsWellFormed(message)
             ? Frame(Framing::kChunked, MarkAttributes(message))
             : Frame(Framing::kChunked, kMalformed);
}

}  // namespace ipav::transport
