// An HTML page, parsed.
#ifndef TESTS_REPORT_PAGE_TREE_H_
#define TESTS_REPORT_PAGE_TREE_H_

#include <string>
#include <vector>

namespace ipav::testing {

class PageTree {
 public:
  // Well-formed text; what is wrong with any other is in error().
  explicit PageTree(const std::string& page);
  ~PageTree();
  PageTree(const PageTree&) = delete;
  PageTree& operator=(const PageTree&) = delete;

  const std::string& error() const { return error_; }

  // Text content of the nodes that an XPath names, in their order.
  std::vector<std::string> Texts(const std::string& xpath) const;
  std::size_t Count(const std::string& xpath) const;

 private:
  void* document_ = nullptr;
  std::string error_;
};

// The formal errors of a page, one line each: invalid markup, duplicate
// identifiers, links without a target or to another site, scripts, pictures
// without a name, headings that skip a level, tables without headings.
std::vector<std::string> FlawsOf(const std::string& page);

}  // namespace ipav::testing

#endif  // TESTS_REPORT_PAGE_TREE_H_
