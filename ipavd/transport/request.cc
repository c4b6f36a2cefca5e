#include "ipavd/transport/request.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>

#include <algorithm>
#include <climits>
#include <optional>

#include "host/base/c_ptr.h"
#include "host/base/utf8.h"
#include "ipavd/transport/start_tags.h"
#include "netconf/xml.h"

namespace ipav::transport {

namespace {

using netconf::ToView;
using netconf::XmlDocument;

constexpr std::string_view kMalformed = "<";
constexpr std::string_view kNetconf = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr std::string_view kYang = "urn:ietf:params:xml:ns:yang:1";

using Parser = base::CPtr<xmlParserCtxt, xmlFreeParserCtxt>;
using XPathContext = base::CPtr<xmlXPathContext, xmlXPathFreeContext>;
using CompiledXPath = base::CPtr<xmlXPathCompExpr, xmlXPathFreeCompExpr>;

// Whether one of the words in `words`, each between blanks, is `word`.
bool HasWord(std::string_view words, std::string_view word) {
  const std::string wanted = " " + std::string(word) + " ";
  return word.find(' ') == std::string_view::npos &&
         words.find(wanted) != std::string_view::npos;
}

// The error-tag for an attribute that tells what to do with an element of a
// configuration; empty if it is right, or another attribute.
std::string_view TagOf(std::string_view name, std::string_view space,
                       std::string_view value) {
  constexpr std::string_view kOperations =
      " merge replace create delete remove ";
  constexpr std::string_view kPlaces = " first last before after ";
  if (name != "operation" && name != "insert") return "";
  if (space.empty()) return "unknown-attribute";
  const bool is_operation = name == "operation" && space == kNetconf;
  const bool is_insert = name == "insert" && space == kYang;
  const bool is_wrong = (is_operation && !HasWord(kOperations, value)) ||
                        (is_insert && !HasWord(kPlaces, value));
  return is_wrong ? "bad-attribute" : "";
}

// What the handlers find in a message. libxml2 passes it to them as the private
// data of the parser.
struct Facts {
  bool has_root = false;
  bool is_in_namespace = false;  // the root
  bool has_filter = false;
  bool needs_changes = false;
};

// A message must not have a document type (RFC 6241, section 3).
void RefuseDocumentType(void* parser, const xmlChar* /*name*/,
                        const xmlChar* /*external_id*/,
                        const xmlChar* /*system_id*/) {
  auto* context = static_cast<xmlParserCtxt*>(parser);
  xmlStopParser(context);
  context->wellFormed = 0;
}

void LookAtElement(void* parser, const xmlChar* element,
                   const xmlChar* /*prefix*/, const xmlChar* space,
                   int /*namespaces*/, const xmlChar** /*declared*/, int count,
                   int /*defaulted*/, const xmlChar** attributes) {
  constexpr int kParts = 5;  // name, prefix, namespace, begin and end of value
  auto& facts =
      *static_cast<Facts*>(static_cast<xmlParserCtxt*>(parser)->_private);
  bool has_message_id = false;
  if (ToView(element) == "filter") facts.has_filter = true;
  for (int i = 0; i < count; ++i, attributes += kParts) {
    const std::string_view name = ToView(attributes[0]);
    const std::string_view value(
        reinterpret_cast<const char*>(attributes[3]),
        static_cast<std::size_t>(attributes[4] - attributes[3]));
    has_message_id =
        has_message_id || (attributes[1] == nullptr && name == "message-id");
    // Other attributes of the root are the client's own.
    if (facts.has_root &&
        (facts.has_filter ||
         !TagOf(name, ToView(attributes[2]), value).empty())) {
      facts.needs_changes = true;
    }
  }
  const bool is_action = ToView(element) == "action" && ToView(space) == kYang;
  if (facts.is_in_namespace && (space == nullptr || is_action)) {
    facts.needs_changes = true;
  }
  if (!facts.has_root && ToView(element) == "rpc" &&
      ToView(space) == kNetconf && !has_message_id) {
    facts.needs_changes = true;
  }
  if (!facts.has_root) facts.is_in_namespace = space != nullptr;
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
  handlers.startElementNs = LookAtElement;
  parser->_private = facts;
  xmlCtxtReadMemory(parser.get(), message.data(),
                    static_cast<int>(message.size()), nullptr, "UTF-8",
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  return parser->wellFormed != 0 && parser->nsWellFormed != 0;
}

const xmlChar* ToXml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

std::string_view SpaceOf(const xmlNs* space) {
  return space == nullptr ? std::string_view() : ToView(space->href);
}

bool IsNetconf(const xmlNode& element, std::string_view name) {
  return ToView(element.name) == name && SpaceOf(element.ns) == kNetconf;
}

// The value of an attribute without namespace; no value if there is none.
std::optional<std::string> Attribute(const xmlNode& element, const char* name) {
  const xmlAttr* found = xmlHasNsProp(&element, ToXml(name), nullptr);
  if (found == nullptr) return std::nullopt;
  return netconf::ContentOf(reinterpret_cast<const xmlNode*>(found));
}

// Why a request is refused, as the annotation "refuse" of the module
// ipav-netconf says it: the error-tag, the attribute, the element, and a text.
using Objection = std::optional<std::string>;

Objection Object(std::string_view tag, std::string_view attribute,
                 std::string_view element, const std::string& text) {
  std::string words;
  for (const std::string_view word : {tag, attribute, element}) {
    words.append(word).append(" ");
  }
  return words + text;
}

Objection ObjectionToXPath(const std::string& xpath) {
  const XPathContext context(xmlXPathNewContext(nullptr));
  if (context == nullptr) return std::nullopt;
  context->error = [](void* /*data*/, xmlError* /*error*/) {};
  const CompiledXPath compiled(
      xmlXPathCtxtCompile(context.get(), ToXml(xpath.c_str())));
  if (compiled != nullptr) return std::nullopt;
  const auto size = std::clamp<std::ptrdiff_t>(
      context->lastError.int1, 0, static_cast<std::ptrdiff_t>(xpath.size()));
  const std::string_view before =
      std::string_view{xpath}.substr(0, static_cast<std::size_t>(size));
  const std::size_t place = 1 + base::CountCharacters(before);
  return Object("bad-attribute", "select", "filter",
                "The attribute select is no XPath expression, see character " +
                    std::to_string(place) + ": " + xpath);
}

// An attribute in a subtree filter selects nodes that have it (RFC 6241,
// section 6.2.2). A configuration has no attributes, and the YANG library
// ignores those that it does not know: such elements get a name that no node
// has.
void RenameElementsWithAttributes(const xmlNode* parent) {
  for (const xmlNode* element = netconf::FirstElement(parent);
       element != nullptr; element = netconf::NextElement(element)) {
    if (element->properties == nullptr) {
      RenameElementsWithAttributes(element);
      continue;
    }
    auto* renamed = const_cast<xmlNode*>(element);
    xmlFreePropList(renamed->properties);
    renamed->properties = nullptr;
    xmlNodeSetName(renamed, ToXml("no-node-has-attributes"));
  }
}

// Elements without a namespace select nodes of any.
void ReplaceMissingNamespaces(xmlNode* filter, const xmlNode* parent) {
  for (const xmlNode* element = netconf::FirstElement(parent);
       element != nullptr; element = netconf::NextElement(element)) {
    if (element->ns == nullptr) {
      xmlNs* any = xmlSearchNsByHref(filter->doc, filter, ToXml(kAnyNamespace));
      if (any == nullptr) {
        any = xmlNewNs(filter, ToXml(kAnyNamespace), ToXml("ipav-any"));
      }
      xmlSetNs(const_cast<xmlNode*>(element), any);
    }
    ReplaceMissingNamespaces(filter, element);
  }
}

Objection PrepareFilter(const xmlNode* filter) {
  RenameElementsWithAttributes(filter);
  ReplaceMissingNamespaces(const_cast<xmlNode*>(filter), filter);
  const auto type = Attribute(*filter, "type");
  if (type.has_value() && *type != "subtree" && *type != "xpath") {
    return Object("bad-attribute", "type", "filter",
                  "A filter has the type subtree or xpath.");
  }
  const auto select = Attribute(*filter, "select");
  return select.has_value() ? ObjectionToXPath(*select) : std::nullopt;
}

Objection ObjectionTo(const xmlNode& element) {
  if (element.ns == nullptr) {
    return Object("unknown-namespace", "-", ToView(element.name),
                  "The element has no namespace.");
  }
  for (const xmlAttr* each = element.properties; each != nullptr;
       each = each->next) {
    const std::string_view name = ToView(each->name);
    const std::string value =
        netconf::ContentOf(reinterpret_cast<const xmlNode*>(each));
    const std::string_view tag = TagOf(name, SpaceOf(each->ns), value);
    if (tag.empty()) continue;
    const bool has_space = each->ns != nullptr;
    return Object(tag, name, ToView(element.name),
                  "The attribute " + std::string(name) +
                      (has_space ? " has no value " + value + "."
                                 : " is not in its namespace."));
  }
  return std::nullopt;
}

// The first objection to the elements below `parent`.
Objection PrepareBelow(const xmlNode* parent, int depth) {
  constexpr int kDepthOfFilter = 2;  // below rpc and get
  for (const xmlNode* element = netconf::FirstElement(parent);
       element != nullptr; element = netconf::NextElement(element)) {
    const bool is_filter =
        depth == kDepthOfFilter && IsNetconf(*element, "filter");
    Objection objection =
        is_filter ? PrepareFilter(element) : ObjectionTo(*element);
    if (!objection.has_value() && !is_filter) {
      objection = PrepareBelow(element, depth + 1);
    }
    if (objection.has_value()) return objection;
  }
  return std::nullopt;
}

// Leaves only the name of the operation.
void Empty(xmlNode* operation) {
  while (operation->children != nullptr) {
    xmlNode* child = operation->children;
    xmlUnlinkNode(child);
    xmlFreeNode(child);
  }
  xmlFreePropList(operation->properties);
  operation->properties = nullptr;
}

// Without the namespaces that the element declares itself.
void PutInto(xmlNs* space, xmlNode* element) {
  xmlSetNs(element, space);
  xmlFreeNsList(element->nsDef);
  element->nsDef = nullptr;
}

// libyang 2.1 frees an uninitialised pointer after an action that it cannot
// read. No module has actions: the server does not know this operation of
// NETCONF, and says so.
void ReplaceAction(const xmlNode* root) {
  auto* operation = const_cast<xmlNode*>(netconf::FirstElement(root));
  if (operation == nullptr || ToView(operation->name) != "action" ||
      SpaceOf(operation->ns) != kYang) {
    return;
  }
  Empty(operation);
  PutInto(root->ns, operation);
}

// Leaves only the name of the operation, and the reason. False if it cannot be
// annotated.
bool Refuse(const xmlNode* root, const std::string& reason) {
  auto* operation = const_cast<xmlNode*>(netconf::FirstElement(root));
  if (operation == nullptr) return true;  // is refused anyway
  Empty(operation);
  if (operation->ns == nullptr) PutInto(root->ns, operation);
  xmlNs* space =
      xmlNewNs(operation, ToXml("urn:ipav:netconf"), ToXml("ipav-netconf"));
  return space != nullptr && xmlNewNsProp(operation, space, ToXml("refuse"),
                                          ToXml(reason.c_str())) != nullptr;
}

// A copy of a well-formed message that the server understands as it is meant.
std::string Prepare(std::string_view message) {
  const XmlDocument document = netconf::ParseXml(message, "UTF-8");
  xmlNode* root = netconf::RootOf(document);
  if (root == nullptr) return std::string(kMalformed);
  Objection objection;
  if (IsNetconf(*root, "rpc") && !Attribute(*root, "message-id")) {
    objection = Object("missing-attribute", "message-id", "rpc",
                       "A request needs a message-id.");
  }
  if (!objection.has_value()) objection = PrepareBelow(root, 1);
  if (objection.has_value() && !Refuse(root, *objection)) {
    return std::string(kMalformed);
  }
  if (!objection.has_value()) ReplaceAction(root);
  return netconf::Print(document.get(), root);
}

}  // namespace

std::string_view WithoutBlanksBefore(std::string_view message) {
  return message.substr(
      std::min(message.find_first_not_of(" \t\r\n"), message.size()));
}

std::string PrepareRequest(std::string_view message) {
  Facts facts;
  if (HasLargeTag(message) || !IsWellFormed(message, &facts)) {
    return std::string(kMalformed);
  }
  return facts.needs_changes ? Prepare(message) : std::string(message);
}

}  // namespace ipav::transport
