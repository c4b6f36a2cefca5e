#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "host/base/c_ptr.h"
#include "host/source/source_tree.h"

namespace ipav::source {

namespace {

constexpr char kBlanks[] = " \t\r\n";

// YANG data may have several top elements, an XML document has one: the text is
// read within an added root.
constexpr std::string_view kOpening = "<data>";
constexpr std::string_view kEnding = "</data>";

bool StandsAt(std::string_view text, std::size_t at, std::string_view what) {
  return text.compare(at, what.size(), what) == 0;
}

// The position after the next `mark`, or `end`.
std::size_t Behind(std::string_view text, std::size_t at, std::size_t end,
                   std::string_view mark) {
  const std::size_t found = text.find(mark, at);
  return found == std::string_view::npos ? end
                                         : std::min(found + mark.size(), end);
}

std::string_view View(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

// Receives the elements of the text.
class XmlReader {
 public:
  XmlReader(std::string_view text, std::size_t start, SourceTree* tree,
            ElementFilter is_wanted)
      : text_(text), start_(start), tree_(*tree), is_wanted_(is_wanted) {
    // Skip the declaration: it is only allowed at the very start, before the
    // added root.
    if (StandsAt(text_, start_, "<?xml")) {
      start_ = Behind(text_, start_, text_.size(), "?>");
    }
  }

  void Run() {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = Start;
    handler.endElementNs = End;
    handler.characters = Characters;
    handler.ignorableWhitespace = Characters;
    handler.cdataBlock = Characters;
    handler.internalSubset = RefuseDoctype;
    handler.serror = [](void*, xmlErrorPtr) {};  // the tree ends there
    const base::CPtr<xmlParserCtxt, xmlFreeParserCtxt> context(
        xmlCreateIOParserCtxt(&handler, this, Give, nullptr, this,
                              XML_CHAR_ENCODING_NONE));
    if (context == nullptr) return;
    context_ = context.get();
    xmlCtxtUseOptions(context_,
                      XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_IGNORE_ENC);
    static_cast<void>(xmlParseDocument(context_));
  }

 private:
  struct Open {
    SourceTree::Node node;
    Span tag;
    bool has_children;
  };

  // The next bytes for the parser.
  static int Give(void* self, char* buffer, int size) {
    auto* reader = static_cast<XmlReader*>(self);
    const std::string_view text =
        reader->text_.substr(std::min(reader->start_, reader->text_.size()));
    const std::string_view parts[] = {kOpening, text, kEnding};
    std::size_t skipped = reader->given_;
    for (const std::string_view part : parts) {
      if (skipped < part.size()) {
        const std::size_t count = part.copy(
            buffer, static_cast<std::size_t>(std::max(size, 0)), skipped);
        reader->given_ += count;
        return static_cast<int>(count);
      }
      skipped -= part.size();
    }
    return 0;
  }

  static void Start(void* self, const xmlChar* name, const xmlChar* prefix,
                    const xmlChar* uri, int /*namespace_count*/,
                    const xmlChar** /*namespaces*/, int /*attribute_count*/,
                    int /*default_count*/, const xmlChar** /*attributes*/) {
    static_cast<XmlReader*>(self)->StartElement(View(name), View(prefix),
                                                View(uri));
  }
  static void End(void* self, const xmlChar* /*name*/,
                  const xmlChar* /*prefix*/, const xmlChar* /*uri*/) {
    static_cast<XmlReader*>(self)->EndElement();
  }
  static void Characters(void* self, const xmlChar* characters, int size) {
    static_cast<XmlReader*>(self)->value_.append(
        reinterpret_cast<const char*>(characters),
        static_cast<std::size_t>(size));
  }
  static void RefuseDoctype(void* self, const xmlChar* /*name*/,
                            const xmlChar* /*external*/,
                            const xmlChar* /*system*/) {
    xmlStopParser(static_cast<XmlReader*>(self)->context_);
  }

  // The parser's position in the text.
  std::size_t Place() const {
    const xmlParserInput& input = *context_->input;
    const std::size_t given =
        input.consumed + static_cast<std::size_t>(input.cur - input.base);
    return std::min(given + start_ - kOpening.size(), text_.size());
  }

  // The parser is at the end of the start tag, before > or />.
  void StartElement(std::string_view name, std::string_view prefix,
                    std::string_view uri) {
    value_.clear();
    if (open_.empty()) {
      open_.push_back({SourceTree::kRoot, {}, true});  // the added root
      return;
    }
    open_.back().has_children = true;
    const std::size_t at = Place();
    const Span tag{text_.rfind('<', at), text_.find('>', at) + 1};
    if (!IsTagOf(tag, name, prefix) ||
        (is_wanted_ != nullptr && !is_wanted_(uri, name))) {
      xmlStopParser(context_);
      return;
    }
    const SourceTree::Node node = tree_.Add(
        open_.back().node, tree_.NumberOf(uri), tree_.NumberOf(name), tag);
    tree_[node].head = tag;
    open_.push_back({node, tag, false});
  }

  // The parser is after the end tag, or after the /> of an empty element.
  void EndElement() {
    if (open_.empty()) return;
    const Open element = open_.back();
    open_.pop_back();
    if (!open_.empty()) tree_[element.node].end = Place();
    if (element.has_children) return;
    tree_.SetValue(element.node, value_);
    const std::size_t end = text_.rfind('<', Place() - 1);
    if (end == std::string_view::npos || end <= element.tag.begin) return;
    const Span value = ValueIn(text_, {element.tag.end, end});
    if (value.begin < value.end) tree_[element.node].span = value;
  }

  // No position is better than a wrong one.
  bool IsTagOf(Span tag, std::string_view name, std::string_view prefix) const {
    if (tag.begin == std::string_view::npos || tag.end == 0) return false;
    std::size_t at = tag.begin + 1;
    if (!prefix.empty()) {
      if (!StandsAt(text_, at, prefix)) return false;
      at += prefix.size() + 1;
    }
    return at < text_.size() && StandsAt(text_, at, name);
  }

  std::string_view text_;
  std::size_t start_;
  SourceTree& tree_;
  ElementFilter is_wanted_;
  xmlParserCtxtPtr context_ = nullptr;
  std::size_t given_ = 0;
  std::vector<Open> open_;
  std::string value_;
};

}  // namespace

std::size_t SkipToContent(std::string_view text, Span span) {
  std::size_t at = span.begin;
  while (at < span.end) {
    if (StandsAt(text, at, "<!--")) {
      at = Behind(text, at, span.end, "-->");
    } else if (StandsAt(text, at, "<?")) {
      at = Behind(text, at, span.end, "?>");
    } else if (std::strchr(kBlanks, text[at]) != nullptr) {
      ++at;
    } else {
      break;
    }
  }
  return at;
}

Span ValueIn(std::string_view text, Span content) {
  constexpr std::string_view kCdata = "<![CDATA[";
  Span value{SkipToContent(text, content), content.end};
  if (value.begin == value.end) return content;  // blanks are a value, too
  if (StandsAt(text, value.begin, kCdata)) {
    value.begin += kCdata.size();
    value.end = std::min(text.find("]]>", value.begin), content.end);
    return value;
  }
  value.end = std::min(text.find('<', value.begin), content.end);
  while (value.end > value.begin &&
         std::strchr(kBlanks, text[value.end - 1]) != nullptr) {
    --value.end;
  }
  return value;
}

std::string WithoutLeadingComments(std::string text, std::size_t start) {
  SourceTree tree;
  ReadXml(text, start, &tree);
  for (SourceTree::Node node = 1; node < tree.size(); ++node) {
    if (tree[node].first_child != SourceTree::kNone) continue;
    const std::size_t begin = tree[node].head.end;
    const std::size_t value = SkipToContent(text, {begin, tree[node].end});
    const std::size_t end = text.rfind('>', value - 1) + 1;
    if (end <= begin) continue;  // the tag's own
    const auto at = [&](std::size_t place) {
      return text.begin() + static_cast<std::ptrdiff_t>(place);
    };
    std::replace_if(
        at(begin - 1), at(end), [](char c) { return c != '\n' && c != '\r'; },
        ' ');
    text[end - 1] = '>';
  }
  return text;
}

void ReadXml(std::string_view text, std::size_t start, SourceTree* tree) {
  ReadXmlWhile(nullptr, text, start, tree);
}

void ReadXmlWhile(ElementFilter is_wanted, std::string_view text,
                  std::size_t start, SourceTree* tree) {
  XmlReader(text, start, tree, is_wanted).Run();
}

}  // namespace ipav::source
