#include "host/datastore/well_formed.h"

#include <libxml/parser.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/c_ptr.h"
#include "host/base/utf8.h"
#include "host/datastore/input_error.h"

namespace ipav::datastore {

namespace {

// Whether the text has no reference, no control character, no U+FFFE and no
// U+FFFF, which XML does not allow. All characters from U+F000 to U+FFFF start
// with the byte 0xef: none of them is plain.
bool HasPlainBytes(std::string_view text) {
  // In bytes and without a branch, so that the compiler vectorizes the loop.
  std::uint8_t odd = 0;
  for (const char c : text) {
    const auto byte = static_cast<std::uint8_t>(c);
    const auto is_control = static_cast<std::uint8_t>(byte < ' ');
    const auto is_no_blank =
        static_cast<std::uint8_t>(byte != '\t' && byte != '\n' && byte != '\r');
    const auto is_odd = static_cast<std::uint8_t>(byte == '&' || byte == 0xef);
    odd |= static_cast<std::uint8_t>((is_control & is_no_blank) | is_odd);
  }
  return odd == 0;
}

bool IsBlank(char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; }

bool StartsName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsInName(char c) {
  return StartsName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  bool IsPlain() {
    while ((at_ = text_.find('<', at_)) != std::string_view::npos) {
      if (!SkipMarkup()) return false;
    }
    return open_.empty();
  }

 private:
  bool SkipMarkup() {
    ++at_;
    if (Skip('/')) return SkipEndTag();
    if (Skip('!')) return Skip("--") && SkipCommentEnd();
    return SkipStartTag();
  }

  // Comments must not contain "--".
  bool SkipCommentEnd() {
    at_ = std::min(text_.find("--", at_), text_.size());
    return Skip("-->");
  }

  bool SkipEndTag() {
    if (open_.empty() || !Skip(open_.back())) return false;
    open_.pop_back();
    SkipBlanks();
    return Skip('>');
  }

  // A single attribute cannot have a duplicate name.
  bool SkipStartTag() {
    const std::string_view name = SkipName();
    if (name.empty()) return false;
    if (SkipBlanks() && StartsName(Current()) && !SkipAttribute()) return false;
    SkipBlanks();
    if (Skip("/>")) return true;
    open_.push_back(name);
    return Skip('>');
  }

  bool SkipAttribute() {
    if (SkipName().empty() || !Skip("=\"")) return false;
    at_ = std::min(text_.find_first_of("\"<", at_), text_.size());
    return Skip('"');
  }

  // A name with or without a prefix; empty if there is none.
  std::string_view SkipName() {
    const std::size_t begin = at_;
    if (!SkipPartOfName()) return "";
    if (Skip(':') && !SkipPartOfName()) return "";
    return text_.substr(begin, at_ - begin);
  }

  bool SkipPartOfName() {
    if (!StartsName(Current())) return false;
    while (IsInName(Current())) ++at_;
    return true;
  }

  // Skips blanks. Whether there were any.
  bool SkipBlanks() {
    const std::size_t begin = at_;
    while (IsBlank(Current())) ++at_;
    return at_ > begin;
  }

  bool Skip(char expected) {
    if (Current() != expected) return false;
    ++at_;
    return true;
  }

  bool Skip(std::string_view expected) {
    if (text_.compare(at_, expected.size(), expected) != 0) return false;
    at_ += expected.size();
    return true;
  }

  // NUL at the end.
  char Current() const { return at_ < text_.size() ? text_[at_] : '\0'; }

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<std::string_view> open_;  // elements
};

// Skips an XML declaration, which is only allowed at the very start.
std::size_t BehindDeclaration(const InputText& text) {
  const std::string& bytes = text.bytes;
  if (bytes.compare(text.start, 5, "<?xml") != 0) return text.start;
  const std::size_t end = bytes.find("?>", text.start);
  return end == std::string::npos ? bytes.size() : end + 2;
}

// YANG data may have several top elements, an XML document has one: the content
// is read within an added root.
constexpr std::string_view kOpening = "<data>";
constexpr std::string_view kEnding = "</data>";

// How each error starts.
constexpr char kReason[] = "no well-formed XML: ";

constexpr std::string_view kComment = "<!--";
constexpr std::string_view kCommentEnd = "-->";
constexpr char kOpenComment[] = "this comment has no end (write -->)";

// Reads the content of a text, and only checks whether it is well-formed XML.
class XmlListener {
 public:
  XmlListener(const InputText& text, std::size_t start)
      : text_(text), start_(start) {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.serror = Keep;
    parser_.reset(xmlCreatePushParserCtxt(&handler, this, nullptr, 0, nullptr));
    if (parser_ == nullptr) throw std::bad_alloc();
    xmlCtxtUseOptions(parser_.get(),
                      XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_IGNORE_ENC);
  }

  // Throws InputError for content that is not XML.
  void Listen() {
    const std::string_view bytes = text_.bytes;
    // The parser shall count the lines of the file.
    const std::string lines(PositionAt(bytes, start_).line - 1, '\n');
    if (!Hear(lines) || !Hear(kOpening) || !Hear(bytes.substr(start_))) {
      throw Error();
    }
    const std::string open = parser_->nameNr > 1 ? Current() : "";
    // At the end, the parser reads what may have begun a reference.
    const bool is_well_formed = Hear(open.empty() ? kEnding : " ", true);
    if (!open.empty() && !IsInReference()) {
      const std::size_t comment = OpenComment();
      if (comment != std::string::npos) {
        throw ErrorAt(text_.path, bytes, comment,
                      std::string(kReason) + kOpenComment);
      }
      throw ErrorAt(text_.path, bytes, bytes.size(),
                    kReason + ("the text ends before </" + open + ">"));
    }
    if (!is_well_formed) throw Error();
  }

 private:
  // Keeps the first error: later ones are its consequences. Namespaces are
  // checked with the data model.
  static void Keep(void* self, xmlErrorPtr error) {
    auto* listener = static_cast<XmlListener*>(self);
    if (listener->error_line_ != 0 || error->domain != XML_FROM_PARSER) return;
    listener->error_line_ = error->line;
    listener->error_column_ = error->int2;
    listener->is_mismatch_ = error->code == XML_ERR_TAG_NAME_MISMATCH;
    const std::string_view message =
        error->message == nullptr ? "" : error->message;
    listener->message_ = message.substr(0, message.find('\n'));
  }

  // Where a comment starts that is not closed.
  std::size_t OpenComment() const {
    const std::size_t end = text_.bytes.rfind(kCommentEnd);
    return text_.bytes.find(kComment, end == std::string::npos ? start_ : end);
  }

  // The local name of the element that is open.
  std::string Current() const {
    return reinterpret_cast<const char*>(parser_->name);
  }

  // Whether the error is in a reference, such as &lt;.
  bool IsInReference() const {
    return message_.find("Ref: ") != std::string::npos ||
           message_.rfind("Entity '", 0) == 0;
  }

  // False after input that is not XML.
  bool Hear(std::string_view piece, bool is_last = false) {
    constexpr std::size_t kMost = std::size_t{1} << 20;
    for (std::size_t at = 0; at < piece.size(); at += kMost) {
      const std::string_view part = piece.substr(at, kMost);
      const bool ends = is_last && at + part.size() == piece.size();
      static_cast<void>(xmlParseChunk(parser_.get(), part.data(),
                                      static_cast<int>(part.size()),
                                      ends ? 1 : 0));
      if (parser_->wellFormed == 0) return false;
    }
    return true;
  }

  InputError Error() const {
    const std::string_view bytes = text_.bytes;
    std::string message = message_;
    std::size_t at = ErrorPlace();
    if (IsInReference()) {
      // The parser is after the reference.
      at = bytes.rfind('&', at - 1);
      if (message_.find("EntityRef: ") != std::string::npos) {
        message = "& begins no reference (write &amp;)";
      }
    } else if (is_mismatch_) {
      // The parser is after the end tag.
      at = bytes.rfind('<', at - 1);
      if (parser_->nameNr == 0) message = "an end tag without its start tag";
    } else if (at > 3 && bytes.substr(at - 2, kComment.size()) == kComment &&
               bytes.rfind(kComment, at - 3) != std::string::npos) {
      // The hyphens of the next comment.
      at = bytes.rfind(kComment, at - 3);
      message = kOpenComment;
    }
    return ErrorAt(text_.path, bytes, at, kReason + message);
  }

  // The byte at the line and column of the error.
  std::size_t ErrorPlace() const {
    const std::string_view bytes = text_.bytes;
    auto column = static_cast<std::size_t>(std::max(error_column_, 1)) - 1;
    std::size_t line = 0;
    for (int i = 1; i < error_line_; ++i) line = bytes.find('\n', line) + 1;
    if (line <= start_) {
      line = start_;  // after the added root
      column -= std::min(column, kOpening.size());
    }
    return line + base::FirstCharacters(bytes.substr(line), column).size();
  }

  const InputText& text_;
  const std::size_t start_;
  int error_line_ = 0;
  int error_column_ = 0;
  bool is_mismatch_ = false;
  std::string message_;
  base::CPtr<xmlParserCtxt, xmlFreeParserCtxt> parser_;
};

}  // namespace

bool IsPlainXml(std::string_view text) {
  return HasPlainBytes(text) && text.find("]]>") == std::string_view::npos &&
         Scanner(text).IsPlain();
}

void RequireWellFormed(const InputText& text) {
  if (text.format != LYD_XML) return;
  const std::size_t start = BehindDeclaration(text);
  // The parser takes as long as libyang, so it is skipped for plain texts.
  if (IsPlainXml(std::string_view{text.bytes}.substr(start))) return;
  XmlListener(text, start).Listen();
}

}  // namespace ipav::datastore
