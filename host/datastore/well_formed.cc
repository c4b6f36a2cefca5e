#include "host/datastore/well_formed.h"

#include <libxml/parser.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <string>
#include <string_view>

#include "host/base/c_ptr.h"
#include "host/datastore/input_error.h"
#include "host/datastore/plain_xml.h"

namespace ipav::datastore {

namespace {

// Skips an XML declaration, which is only allowed at the very start.
std::size_t BehindDeclaration(const InputText& text) {
  const std::string& bytes = text.bytes;
  if (bytes.compare(text.start, 5, "<?xml") != 0) return text.start;
  const std::size_t end = bytes.find("?>", text.start);
  return end == std::string::npos ? bytes.size() : end + 2;
}

// Reads a text piece by piece, and only checks whether it is well-formed XML.
class XmlListener {
 public:
  XmlListener() {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.serror = [](void*, xmlErrorPtr) {};
    parser_.reset(
        xmlCreatePushParserCtxt(&handler, nullptr, nullptr, 0, nullptr));
    if (parser_ == nullptr) throw std::bad_alloc();
    xmlCtxtUseOptions(parser_.get(),
                      XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_IGNORE_ENC);
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

  const xmlError* error() const { return xmlCtxtGetLastError(parser_.get()); }

 private:
  base::CPtr<xmlParserCtxt, xmlFreeParserCtxt> parser_;
};

}  // namespace

void RequireWellFormed(const InputText& text) {
  if (text.format != LYD_XML) return;
  // 1. Find the content after an XML declaration.
  const std::size_t start = BehindDeclaration(text);
  const std::string_view content = std::string_view{text.bytes}.substr(start);
  // 2. Parse it within a root, because YANG data may have several top elements.
  // The parser takes as long as libyang, so it is skipped for plain texts.
  if (IsPlainXml(content)) return;
  XmlListener listener;
  if (listener.Hear("<data>") && listener.Hear(content) &&
      listener.Hear("</data>", true)) {
    return;
  }
  // 3. Report the error in one line.
  const xmlError* error = listener.error();
  std::string reason = "no well-formed XML";
  auto line = static_cast<unsigned long>(
      std::count(text.bytes.data(), text.bytes.data() + start, '\n'));
  if (error != nullptr && error->message != nullptr) {
    const std::string_view message = error->message;
    reason += ": ";
    reason += message.substr(0, message.find('\n'));
    line += static_cast<unsigned long>(error->line);
  }
  throw InputError(text.path, line, reason);
}

}  // namespace ipav::datastore
