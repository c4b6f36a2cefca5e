#include "ipavd/store/edit_xml.h"

#include <libxml/parser.h>

#include <climits>
#include <new>

namespace ipav::store {

namespace {

constexpr const char* kBlanks = " \t\r\n";

std::string Text(const xmlChar* text) {
  return std::string(netconf::ToView(text));
}

const xmlChar* XmlChars(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

std::string ErrorOf(xmlParserCtxt* parser) {
  const xmlError* error = xmlCtxtGetLastError(parser);
  if (error == nullptr || error->message == nullptr) return "is no XML";
  std::string message = error->message;
  message.erase(message.find_last_not_of(kBlanks) + 1);
  return message + " (line " + std::to_string(error->line) + ")";
}

}  // namespace

EditXml ParseEdit(const std::string& content) {
  // Inside an element there cannot be a document type, hence no entities.
  const std::string text = "<config>" + content + "</config>";
  if (text.size() > INT_MAX) return {nullptr, nullptr, "is too large"};
  const base::CPtr<xmlParserCtxt, xmlFreeParserCtxt> parser(xmlNewParserCtxt());
  if (parser == nullptr) throw std::bad_alloc();
  EditXml xml;
  xml.document.reset(
      xmlCtxtReadMemory(parser.get(), text.data(),
                        static_cast<int>(text.size()), nullptr, "UTF-8",
                        XML_PARSE_NONET | XML_PARSE_NOERROR |
                            XML_PARSE_NOWARNING | XML_PARSE_NOCDATA));
  // libxml2 makes a document although a prefix is not declared.
  if (xml.document == nullptr || parser->nsWellFormed == 0) {
    xml.error = ErrorOf(parser.get());
  } else {
    xml.config = xmlDocGetRootElement(xml.document.get());
  }
  return xml;
}

std::string NameOf(const xmlNode* element) { return Text(element->name); }

std::string NamespaceOf(const xmlNode* element) {
  return element->ns == nullptr ? "" : Text(element->ns->href);
}

std::string NamespaceOf(const xmlAttr* attribute) {
  return attribute->ns == nullptr ? "" : Text(attribute->ns->href);
}

std::string NameOf(const xmlAttr* attribute) { return Text(attribute->name); }

std::string ValueOf(const xmlAttr* attribute) {
  return netconf::TakeText(
      xmlNodeListGetString(attribute->doc, attribute->children, 1));
}

bool HasMixedContent(const xmlNode* element) {
  for (const xmlNode* node = element->children; node != nullptr;
       node = node->next) {
    if (node->type != XML_TEXT_NODE) continue;
    const std::string text = Text(node->content);
    if (text.find_first_not_of(kBlanks) != std::string::npos) return true;
  }
  return false;
}

std::string NamespaceOf(const xmlNode* element, const std::string& prefix) {
  const xmlNs* found = xmlSearchNs(element->doc, const_cast<xmlNode*>(element),
                                   prefix.empty() ? nullptr : XmlChars(prefix));
  return found == nullptr ? "" : Text(found->href);
}

std::string InnerXml(const xmlNode* element) {
  std::string text;
  for (xmlNode* node = element->children; node != nullptr; node = node->next) {
    xmlNode* copy = xmlDocCopyNode(node, element->doc, 1);
    // A copy declares the namespaces that it uses itself.
    xmlReconciliateNs(element->doc, copy);
    text += netconf::Print(element->doc, copy);
    xmlFreeNode(copy);
  }
  return text;
}

}  // namespace ipav::store
