// The XML of an edit. Elements and attributes are libxml2's, and belong to the
// document.
#ifndef IPAV_IPAVD_STORE_EDIT_XML_H_
#define IPAV_IPAVD_STORE_EDIT_XML_H_

#include <libxml/tree.h>

#include <string>

#include "netconf/xml.h"

namespace ipav::store {

struct EditXml {
  netconf::XmlDocument document;
  const xmlNode* config = nullptr;  // the element config; null: no XML
  std::string error;                // why it is none
};

// Parses the content of an element config.
EditXml ParseEdit(const std::string& content);

using netconf::FirstElement;
using netconf::NextElement;

std::string NameOf(const xmlNode* element);

// Its namespace; empty for none.
std::string NamespaceOf(const xmlNode* element);
std::string NamespaceOf(const xmlAttr* attribute);

std::string NameOf(const xmlAttr* attribute);
std::string ValueOf(const xmlAttr* attribute);

// Whether there is text between its elements, other than blanks.
bool HasMixedContent(const xmlNode* element);

// The namespace of a prefix inside an element. An empty prefix means the
// default namespace. Empty for none.
std::string NamespaceOf(const xmlNode* element, const std::string& prefix);

// The content of an element. Each part of it declares the namespaces it needs.
std::string InnerXml(const xmlNode* element);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_EDIT_XML_H_
