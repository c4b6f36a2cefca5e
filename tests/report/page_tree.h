// A page as a parser sees it.
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

// What is wrong with a page of ours as such, whatever it says: a line each.
// Markup that does not fit, identifiers that are there twice, links that lead
// nowhere or elsewhere, scripts, pictures without a name, headings that skip a
// level, tables without headings.
std::vector<std::string> FlawsOf(const std::string& page);

}  // namespace ipav::testing

#endif  // TESTS_REPORT_PAGE_TREE_H_
