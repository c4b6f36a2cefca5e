#include "netconf/xml.h"

#include <libxml/parser.h>

#include <climits>

namespace ipav::netconf {

namespace {

const xmlNode* ElementFrom(const xmlNode* node) {
  while (node != nullptr && node->type != XML_ELEMENT_NODE) node = node->next;
  return node;
}

}  // namespace

XmlDocument ParseXml(std::string_view text, const char* encoding) {
  if (text.size() > INT_MAX) return nullptr;
  return XmlDocument(xmlReadMemory(
      text.data(), static_cast<int>(text.size()), nullptr, encoding,
      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

xmlNode* RootOf(const XmlDocument& document) {
  return document == nullptr ? nullptr : xmlDocGetRootElement(document.get());
}

std::string_view ToView(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

std::string TakeText(xmlChar* text) {
  std::string taken(ToView(text));
  xmlFree(text);
  return taken;
}

std::string Print(xmlDoc* document, xmlNode* node) {
  xmlBuffer* buffer = xmlBufferCreate();
  xmlNodeDump(buffer, document, node, 0, 0);
  std::string text(ToView(xmlBufferContent(buffer)));
  xmlBufferFree(buffer);
  return text;
}

std::string ContentOf(const xmlNode* node) {
  return TakeText(xmlNodeGetContent(node));
}

const xmlNode* FirstElement(const xmlNode* parent) {
  return ElementFrom(parent->children);
}

const xmlNode* NextElement(const xmlNode* element) {
  return ElementFrom(element->next);
}

}  // namespace ipav::netconf
