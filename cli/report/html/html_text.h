// The text of a page while it is made. It accepts only markup, which must be a
// literal of this program, and text from any source, which is escaped in one
// place. Each {} of markup stands for the next argument, {0} for the first one.
//
// No available writer fits: libxml2's writer of HTML knows HTML 4 only and
// needs the whole page as a tree, and none accepts an operator's text with
// bytes that are not UTF-8.
#ifndef IPAV_CLI_REPORT_HTML_HTML_TEXT_H_
#define IPAV_CLI_REPORT_HTML_HTML_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ipav::cli::report {

class Html {
 public:
  template <std::size_t kSize>
  Html& Markup(const char (&literal)[kSize]) {
    page_.append(literal, kSize - 1);
    return *this;
  }
  template <std::size_t kSize, typename... Arguments>
  Html& Markup(const char (&literal)[kSize], const Arguments&... arguments) {
    return Fill(literal, {Html::Of(arguments)...});
  }

  // For the content of elements and for attributes in quotes.
  Html& Text(std::string_view text);
  // The same for a data path, which may have a line break before each node;
  // only for the content of elements.
  Html& Path(std::string_view path);
  Html& Number(std::size_t number);
  // A share of 1 as a percentage: "12.5%".
  Html& Share(double share);
  Html& Add(const Html& part);

  const std::string& str() const { return page_; }
  std::size_t size() const { return page_.size(); }

 private:
  static Html Of(std::string_view text) { return Html().Text(text); }
  static Html Of(std::size_t number) { return Html().Number(number); }
  static const Html& Of(const Html& part) { return part; }
  Html& Fill(const char* literal, const std::vector<Html>& arguments);

  std::string page_;
};

// `text` with the characters of markup as character references. Other
// replacements make invisible characters visible: symbols for control
// characters, numbers for characters that change the direction of writing,
// U+FFFD for bytes that are not UTF-8.
std::string Escaped(std::string_view text);

// "1 prefix", "3 prefixes".
std::string Count(std::size_t number, const char* one, const char* many);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_HTML_TEXT_H_
