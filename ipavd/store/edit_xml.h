// The XML of an edit: elements with namespaces and attributes, as edit-config
// asks for them. The elements are libxml2's.
#ifndef IPAV_SERVER_STORE_EDIT_XML_H_
#define IPAV_SERVER_STORE_EDIT_XML_H_

#include <libxml/tree.h>

#include <memory>
#include <string>

namespace ipav::store {

class EditXml {
 public:
  // The content of an element config.
  explicit EditXml(const std::string& content);

  // Why it is no XML; empty where it is.
  const std::string& error() const { return error_; }

  // The element config itself; null where it is no XML.
  const xmlNode* config() const { return config_; }

 private:
  struct DocumentDeleter {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
  };

  std::unique_ptr<xmlDoc, DocumentDeleter> document_;
  const xmlNode* config_ = nullptr;
  std::string error_;
};

// Elements among the children of a node, in their order; null behind the last.
const xmlNode* FirstElement(const xmlNode* parent);
const xmlNode* NextElement(const xmlNode* element);

std::string NameOf(const xmlNode* element);

// Its namespace; empty for none.
std::string NamespaceOf(const xmlNode* element);
std::string NamespaceOf(const xmlAttr* attribute);

std::string NameOf(const xmlAttr* attribute);
std::string ValueOf(const xmlAttr* attribute);

// All text in an element.
std::string TextOf(const xmlNode* element);

// Whether there is text between its elements, other than blanks.
bool HasMixedContent(const xmlNode* element);

// The namespace that a prefix stands for in an element; an empty prefix for the
// default one. Empty for none.
std::string NamespaceOf(const xmlNode* element, const std::string& prefix);

// What stands in an element; each part declares the namespaces it needs.
std::string InnerXml(const xmlNode* element);

}  // namespace ipav::store

#endif  // IPAV_SERVER_STORE_EDIT_XML_H_
