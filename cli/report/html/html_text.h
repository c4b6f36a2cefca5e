// The text of a page while it is made. Two things go in: markup, which is
// literals of ours only, and text, which may come from anywhere and is escaped
// in one place. There is no third way.
//
// A function of our own, since no writer at hand fits: the one of libxml2 for
// HTML knows HTML 4 and takes the whole page as a tree, and none of them takes
// the bytes that an operator's text may have, which need not be UTF-8.
#ifndef IPAV_CLI_REPORT_HTML_HTML_TEXT_H_
#define IPAV_CLI_REPORT_HTML_HTML_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace ipav::cli::report {

class Html {
 public:
  template <std::size_t kSize>
  Html& Markup(const char (&literal)[kSize]) {
    page_.append(literal, kSize - 1);
    return *this;
  }

  // For the content of elements and for attributes in quotes.
  Html& Text(std::string_view text);
  // The same for a data path, which may go on in the next line in front of each
  // node; of elements only.
  Html& Path(std::string_view path);
  Html& Number(std::size_t number);
  // Of 1, as a percentage: "12.5%".
  Html& Share(double share);
  Html& Add(const Html& part);

  const std::string& str() const { return page_; }
  std::size_t size() const { return page_.size(); }

 private:
  std::string page_;
};

// `text` with what markup is made of as character references. What a page
// cannot show, or shows as something else, is shown as what it is: control
// characters by their symbols, characters that turn the direction of writing by
// their numbers, bytes that are no UTF-8 by U+FFFD.
std::string Escaped(std::string_view text);

// Bytes of the character that a non-empty text begins with; where they are
// not UTF-8, those that are replaced as one.
std::size_t CharacterSize(std::string_view text);

// "1 prefix", "3 prefixes".
std::string Count(std::size_t number, const char* one, const char* many);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_HTML_TEXT_H_
