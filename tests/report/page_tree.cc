#include "tests/report/page_tree.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>
#include <regex>
#include <set>

namespace ipav::testing {

namespace {

struct ContextDeleter {
  void operator()(xmlXPathContext* context) const {
    xmlXPathFreeContext(context);
  }
};
struct ObjectDeleter {
  void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
};

std::string ContentOf(xmlNode* node) {
  xmlChar* content = xmlNodeGetContent(node);
  std::string text = reinterpret_cast<const char*>(content);
  xmlFree(content);
  return text;
}

using Flaws = std::vector<std::string>;

void ExpectNone(const PageTree& tree, const std::string& what,
                const std::string& xpath, Flaws* flaws) {
  for (const std::string& text : tree.Texts(xpath)) {
    flaws->push_back(what + ": " + text);
  }
}

void CheckReferences(const PageTree& tree, Flaws* flaws) {
  std::set<std::string> ids;
  for (const std::string& id : tree.Texts("//@id")) {
    if (!ids.insert(id).second) flaws->push_back("twice: " + id);
  }
  for (const std::string& link : tree.Texts("//@href")) {
    if (link.substr(0, 1) != "#" || ids.count(link.substr(1)) == 0) {
      flaws->push_back("leads nowhere: " + link);
    }
  }
  for (const std::string& id : tree.Texts("//@aria-labelledby")) {
    if (ids.count(id) == 0) flaws->push_back("no label: " + id);
  }
}

// Nothing that makes a browser ask or act.
void CheckSelfContained(const PageTree& tree, Flaws* flaws) {
  ExpectNone(tree, "asks for something",
             "//script|//link|//img|//iframe|//object|//embed|//base|//form|"
             "//use|//image|//@src|//@srcset|//@style|//@action|//@data|"
             "//@*[starts-with(name(), 'on')]",
             flaws);
  ExpectNone(tree, "names another place", "//@*[contains(., '//')]", flaws);
  const std::regex asks("url\\((?!#)|@import|expression\\(");
  for (const std::string& style : tree.Texts("//style")) {
    if (std::regex_search(style, asks)) flaws->push_back("style asks");
  }
  if (tree.Count("//head/meta[@http-equiv='Content-Security-Policy' and "
                 "starts-with(@content, \"default-src 'none';\")]") != 1) {
    flaws->push_back("no Content-Security-Policy");
  }
}

void CheckNames(const PageTree& tree, Flaws* flaws) {
  ExpectNone(tree, "picture without a name",
             "//svg[not(ancestor::svg) and not(@aria-hidden='true') and "
             "not(@role='img' and string-length(@aria-label) > 0)]",
             flaws);
  ExpectNone(tree, "bar without a name",
             "//svg[@role='img']//rect[not(../title[string-length() > 0])]",
             flaws);
  ExpectNone(tree, "table without headings",
             "//table[not(.//th[@scope='col']) or "
             "(.//tbody/tr[not(th[@scope='row'])])]",
             flaws);
  ExpectNone(tree, "section without a name",
             "//section[not(@aria-labelledby)]|//nav[not(@aria-label)]", flaws);
  ExpectNone(tree, "nothing to name it",
             "//a[normalize-space() = '']|//summary[normalize-space() = '']|"
             "//h1[.='']|//h2[.='']|//h3[.='']|//h4[.='']|//h5[.='']",
             flaws);
}

void CheckStructure(const PageTree& tree, Flaws* flaws) {
  for (const char* once : {"//h1", "//main", "//head/title", "/html[@lang]"}) {
    if (tree.Count(once) != 1) flaws->push_back(std::string("not one ") + once);
  }
  ExpectNone(tree, "a level is skipped",
             "//h3[not(preceding::h2)]|//h4[not(preceding::h3)]|"
             "//h5[not(preceding::h4)]",
             flaws);
}

}  // namespace

PageTree::PageTree(const std::string& page) {
  xmlResetLastError();
  xmlDoc* document =
      xmlReadMemory(page.data(), static_cast<int>(page.size()), "page", "UTF-8",
                    XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET |
                        XML_PARSE_HUGE);
  document_ = document;
  const xmlError* error = xmlGetLastError();
  if (error != nullptr) {
    error_ = std::to_string(error->line) + ": " + error->message;
  }
}

PageTree::~PageTree() { xmlFreeDoc(static_cast<xmlDoc*>(document_)); }

std::vector<std::string> PageTree::Texts(const std::string& xpath) const {
  const std::unique_ptr<xmlXPathContext, ContextDeleter> context(
      xmlXPathNewContext(static_cast<xmlDoc*>(document_)));
  if (context == nullptr) return {};
  const std::unique_ptr<xmlXPathObject, ObjectDeleter> found(
      xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(xpath.c_str()),
                             context.get()));
  if (found == nullptr) return {"no XPath: " + xpath};
  std::vector<std::string> texts;
  const xmlNodeSet* nodes = found->nodesetval;
  for (int i = 0; nodes != nullptr && i < nodes->nodeNr; ++i) {
    texts.push_back(ContentOf(nodes->nodeTab[i]));
  }
  return texts;
}

std::size_t PageTree::Count(const std::string& xpath) const {
  return Texts(xpath).size();
}

std::vector<std::string> FlawsOf(const std::string& page) {
  const PageTree tree(page);
  if (!tree.error().empty()) return {tree.error()};
  Flaws flaws;
  CheckReferences(tree, &flaws);
  CheckSelfContained(tree, &flaws);
  CheckNames(tree, &flaws);
  CheckStructure(tree, &flaws);
  return flaws;
}

}  // namespace ipav::testing
