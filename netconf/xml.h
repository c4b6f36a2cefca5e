// XML documents, parsed by libxml2.
#ifndef IPAV_NETCONF_XML_H_
#define IPAV_NETCONF_XML_H_

#include <libxml/tree.h>

#include <string>
#include <string_view>

#include "host/base/c_ptr.h"

namespace ipav::netconf {

using XmlDocument = base::CPtr<xmlDoc, xmlFreeDoc>;

// Null when the text is not well-formed. Loads nothing from outside. A null
// `encoding` means the one that the text declares, UTF-8 by default.
XmlDocument ParseXml(std::string_view text, const char* encoding = nullptr);

// The root element; null for no document.
xmlNode* RootOf(const XmlDocument& document);

// The text; empty for null.
std::string_view ToView(const xmlChar* text);

// A text that libxml2 allocated, which is freed.
std::string TakeText(xmlChar* text);

// A node of the document as XML.
std::string Print(xmlDoc* document, xmlNode* node);

// All text in a node and below it.
std::string ContentOf(const xmlNode* node);

// The child elements of a node in their order; null after the last one.
const xmlNode* FirstElement(const xmlNode* parent);
const xmlNode* NextElement(const xmlNode* element);

}  // namespace ipav::netconf

#endif  // IPAV_NETCONF_XML_H_
