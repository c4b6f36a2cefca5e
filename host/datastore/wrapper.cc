#include "host/datastore/wrapper.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/datastore/input_error.h"
#include "host/datastore/well_formed.h"

namespace ipav::datastore {

namespace {

constexpr char kBlanks[] = " \t\r\n";

struct XmlName {
  std::string_view space;  // namespace
  std::string_view name;
};

constexpr char kNetconf[] = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr XmlName kReply = {kNetconf, "rpc-reply"};
constexpr XmlName kWrappers[] = {
    kReply,
    {kNetconf, "data"},
    {kNetconf, "config"},
    {"urn:ietf:params:xml:ns:yang:ietf-netconf-nmda", "data"},
    {"urn:ietf:params:xml:ns:yang:ietf-restconf", "data"},
    {"http://tail-f.com/ns/config/1.0", "config"},
};

constexpr std::string_view kMembers[] = {"\"data\"", "\"ietf-restconf:data\""};

bool IsSame(const XmlName& a, const XmlName& b) {
  return a.space == b.space && a.name == b.name;
}

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() &&
         text.substr(text.size() - end.size()) == end;
}

// The position of the first character that is no blank; the end if there is
// none.
std::size_t SkipBlanks(std::string_view text, std::size_t at) {
  return std::min(text.find_first_not_of(kBlanks, at), text.size());
}

std::size_t Behind(std::string_view text, std::string_view mark,
                   std::size_t at) {
  const std::size_t found = text.find(mark, at);
  return found == std::string_view::npos ? text.size() : found + mark.size();
}

// The position of the first element or text at or after `at`: after blanks,
// comments, processing instructions and an XML declaration.
std::size_t SkipToElement(std::string_view text, std::size_t at) {
  for (;;) {
    at = SkipBlanks(text, at);
    const std::string_view rest = text.substr(at);
    if (StartsWith(rest, "<!--")) {
      at = Behind(text, "-->", at);
    } else if (StartsWith(rest, "<?")) {
      at = Behind(text, "?>", at);
    } else {
      return at;
    }
  }
}

// The text without what SkipToElement() skips, at its end.
std::string_view WithoutTail(std::string_view text) {
  for (;;) {
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    const bool is_comment = EndsWith(text, "-->");
    const std::size_t begin = text.rfind(is_comment ? "<!--" : "<?");
    // Text may end in such characters, too.
    if (begin == std::string_view::npos ||
        Behind(text, is_comment ? "-->" : "?>", begin) != text.size()) {
      return text;
    }
    text = text.substr(0, begin);
  }
}

// A start tag; empty where there is none.
struct StartTag {
  std::string_view text;  // <p:name a="b">
  std::string_view name;  // as written, with its prefix

  bool IsEmpty() const { return EndsWith(text, "/>"); }
  std::string_view Prefix() const {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? "" : name.substr(0, colon);
  }
  std::string_view LocalName() const {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
  }
};

StartTag StartTagAt(std::string_view text, std::size_t at) {
  if (at >= text.size() || text[at] != '<') return {};
  // An attribute's value may contain '>'.
  std::size_t end = at;
  while (end < text.size() && text[end] != '>') {
    const bool is_quote = text[end] == '"' || text[end] == '\'';
    end = is_quote ? Behind(text, text.substr(end, 1), end + 1) : end + 1;
  }
  if (end >= text.size()) return {};
  const std::size_t name_end = text.find_first_of(" \t\r\n/>", at + 1);
  return {text.substr(at, end + 1 - at),
          text.substr(at + 1, name_end - at - 1)};
}

// The value of an attribute of a well-formed tag.
std::optional<std::string_view> AttributeOf(const StartTag& tag,
                                            std::string_view name) {
  std::size_t at = tag.name.size() + 1;
  for (;;) {
    at = SkipBlanks(tag.text, at);
    const std::size_t equals = tag.text.find('=', at);
    if (equals == std::string_view::npos) return std::nullopt;
    const std::size_t quote = tag.text.find_first_of("\"'", equals);
    const std::size_t end =
        Behind(tag.text, tag.text.substr(quote, 1), quote + 1);
    const std::string_view found = tag.text.substr(at, equals - at);
    if (found.substr(0, found.find_last_not_of(kBlanks) + 1) == name) {
      return tag.text.substr(quote + 1, end - quote - 2);
    }
    at = end;
  }
}

// The namespace of the last of these tags, each of which is in the one before
// it.
std::string_view NamespaceOf(const std::vector<StartTag>& tags) {
  const std::string_view prefix = tags.back().Prefix();
  std::string name = "xmlns";
  if (!prefix.empty()) name.append(":").append(prefix);
  for (auto tag = tags.rbegin(); tag != tags.rend(); ++tag) {
    if (const auto space = AttributeOf(*tag, name)) return *space;
  }
  return "";
}

bool IsWrapper(const std::vector<StartTag>& tags) {
  const XmlName name = {NamespaceOf(tags), tags.back().LocalName()};
  return std::any_of(
      std::begin(kWrappers), std::end(kWrappers),
      [&](const XmlName& wrapper) { return IsSame(name, wrapper); });
}

bool MayBeWrapper(const StartTag& tag) {
  return std::any_of(
      std::begin(kWrappers), std::end(kWrappers), [&](const XmlName& wrapper) {
        return tag.LocalName() == wrapper.name &&
               tag.text.find(wrapper.space) != std::string_view::npos;
      });
}

// Where the content of an element ends, if the element is the last one of
// `bytes`. Throws InputError if it is not.
std::size_t EndOfContent(const InputText& text, const StartTag& tag,
                         std::string_view bytes) {
  const std::string_view element = WithoutTail(bytes);
  const std::size_t end = tag.IsEmpty() ? element.size() : element.rfind("</");
  const std::string close = "</" + std::string(tag.name);
  const bool is_last =
      tag.IsEmpty()
          ? element.data() + element.size() == tag.text.data() + tag.text.size()
          : end != std::string_view::npos &&
                StartsWith(element.substr(end), close) &&
                SkipBlanks(element, end + close.size()) + 1 == element.size();
  if (!is_last) {
    throw ErrorAt(
        text.path, text.bytes, element.size(),
        "something else follows the end of <" + std::string(tag.name) + ">");
  }
  return end;
}

// Leaves the part of the text from `begin` to `end`.
void Keep(std::size_t begin, std::size_t end, InputText* text) {
  std::string& bytes = text->bytes;
  bytes.resize(end);
  for (std::size_t at = text->start; at < begin; ++at) {
    if (bytes[at] != '\n') bytes[at] = ' ';
  }
  text->start = SkipBlanks(bytes, begin);
}

void RemoveXmlWrappers(InputText* text) {
  const std::string_view bytes = text->bytes;
  std::size_t at = SkipToElement(bytes, text->start);
  if (!MayBeWrapper(StartTagAt(bytes, at))) return;
  RequireWellFormed(*text);

  // From the outermost to the innermost.
  std::vector<StartTag> tags = {StartTagAt(bytes, at)};
  std::size_t begin = at;
  std::size_t end = bytes.size();
  while (!tags.back().text.empty() && IsWrapper(tags)) {
    begin = at + tags.back().text.size();
    end = EndOfContent(*text, tags.back(), bytes.substr(0, end));
    at = SkipToElement(bytes.substr(0, end), begin);
    tags.push_back(StartTagAt(bytes.substr(0, end), at));
  }
  tags.pop_back();
  if (tags.empty()) return;
  if (tags.back().LocalName() == kReply.name) {
    throw ErrorAt(text->path, text->bytes, at,
                  "a reply without <data> has no configuration");
  }
  Keep(begin, end, text);
}

// The position of the object in {"data": {...}}; none for another text.
std::optional<std::size_t> WrappedObject(std::string_view text,
                                         std::size_t start) {
  const std::size_t name = SkipBlanks(text, start + 1);
  for (const std::string_view member : kMembers) {
    if (!StartsWith(text.substr(name), member)) continue;
    const std::size_t colon = SkipBlanks(text, name + member.size());
    const std::size_t object = SkipBlanks(text, colon + 1);
    if (StartsWith(text.substr(object), "{")) return object;
  }
  return std::nullopt;
}

std::size_t CountMembers(std::string_view text) {
  using nlohmann::json;
  std::size_t count = 0;
  const auto count_only = [&](int depth, json::parse_event_t event, json&) {
    if (event == json::parse_event_t::key && depth == 1) ++count;
    return false;
  };
  const json nothing = json::parse(text, count_only);
  return count;
}

void RemoveJsonWrapper(InputText* text) {
  const auto object = WrappedObject(text->bytes, text->start);
  if (!object || CountMembers(text->data()) != 1) return;
  const std::size_t last = text->bytes.rfind('}', text->bytes.rfind('}') - 1);
  Keep(*object, last + 1, text);
}

}  // namespace

void RemoveWrappers(InputText* text) {
  (text->format == LYD_XML ? RemoveXmlWrappers : RemoveJsonWrapper)(text);
}

}  // namespace ipav::datastore
