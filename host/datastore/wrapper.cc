#include "host/datastore/wrapper.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/bytes.h"
#include "host/datastore/input_error.h"
#include "host/datastore/well_formed.h"
#include "host/source/source_tree.h"

namespace ipav::datastore {

namespace {

using base::EndsWith;
using base::StartsWith;

constexpr char kBlanks[] = " \t\r\n";

constexpr char kNetconf[] = "urn:ietf:params:xml:ns:netconf:base:1.0";

struct XmlName {
  std::string_view space;  // namespace
  std::string_view name;
};
constexpr XmlName kWrappers[] = {
    {kNetconf, "rpc-reply"},
    {kNetconf, "data"},
    {kNetconf, "config"},
    {"urn:ietf:params:xml:ns:yang:ietf-netconf-nmda", "data"},
    {"urn:ietf:params:xml:ns:yang:ietf-restconf", "data"},
    {"http://tail-f.com/ns/config/1.0", "config"},
};

constexpr std::string_view kMembers[] = {"\"data\"", "\"ietf-restconf:data\""};

// The position of the first character that is no blank; the end if there is
// none.
std::size_t SkipBlanks(std::string_view text, std::size_t at) {
  return std::min(text.find_first_not_of(kBlanks, at), text.size());
}

// Whether the first element may be a wrapper: its start tag, which ends before
// the next '<', has the namespace of one.
bool MayBeWrapped(std::string_view text, std::size_t element) {
  const std::string_view tag =
      text.substr(element, text.find('<', element + 1) - element);
  return std::any_of(std::begin(kWrappers), std::end(kWrappers),
                     [&](const XmlName& wrapper) {
                       return tag.find(wrapper.space) != std::string_view::npos;
                     });
}

// The text without blanks, comments and processing instructions at its end.
std::string_view WithoutTail(std::string_view text) {
  for (;;) {
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    const bool is_comment = EndsWith(text, "-->");
    const std::size_t begin = text.rfind(is_comment ? "<!--" : "<?");
    // Text may end in such characters, too.
    if (begin == std::string_view::npos ||
        source::SkipToContent(text, {begin, text.size()}) != text.size()) {
      return text;
    }
    text = text.substr(0, begin);
  }
}

// Where the content of an element ends, if the element is the last one of
// `bytes`. Throws InputError if it is not.
std::size_t EndOfContent(const InputText& text, std::string_view bytes,
                         source::Span tag) {
  const std::string_view element = WithoutTail(bytes);
  const std::string_view start = bytes.substr(tag.begin, tag.end - tag.begin);
  const std::string name(start.substr(1, start.find_first_of(" \t\r\n/>") - 1));
  const bool is_empty = EndsWith(start, "/>");
  const std::size_t end = is_empty ? tag.end : element.rfind("</");
  const std::string close = is_empty ? "" : "</" + name;
  const bool is_last =
      end != std::string_view::npos && StartsWith(element.substr(end), close) &&
      (is_empty ? end : SkipBlanks(element, end + close.size()) + 1) ==
          element.size();
  if (!is_last) {
    throw ErrorAt(text.path, text.bytes, element.size(),
                  "something else follows the end of <" + name + ">");
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
  std::size_t at = source::SkipToContent(bytes, {text->start, bytes.size()});
  if (!MayBeWrapped(bytes, at)) return;
  RequireWellFormed(*text);
  source::SourceTree tree;
  source::ReadXmlWhile(IsWrapper, bytes, text->start, &tree);

  // From the outermost to the innermost.
  std::size_t begin = text->start;
  std::size_t end = bytes.size();
  std::string_view name;
  for (auto node = tree[source::SourceTree::kRoot].first_child;
       node != source::SourceTree::kNone && tree[node].head.begin == at;
       node = tree[node].first_child) {
    begin = tree[node].head.end;
    end = EndOfContent(*text, bytes.substr(0, end), tree[node].head);
    at = source::SkipToContent(bytes, {begin, end});
    name = tree.TextOf(tree[node].name);
  }
  if (name.empty()) return;
  if (name == "rpc-reply") {
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

void RemoveJsonWrapper(InputText* text) {
  const std::string_view bytes = text->bytes;
  const auto object = WrappedObject(bytes, text->start);
  if (!object) return;
  // It is the only member if it ends before the last brace.
  const std::size_t end = bytes.rfind('}', bytes.rfind('}') - 1) + 1;
  const std::string_view value = bytes.substr(*object, end - *object);
  if (nlohmann::json::accept(value.begin(), value.end())) {
    Keep(*object, end, text);
  }
}

}  // namespace

bool IsWrapper(std::string_view space, std::string_view name) {
  return std::any_of(std::begin(kWrappers), std::end(kWrappers),
                     [&](const XmlName& wrapper) {
                       return wrapper.space == space && wrapper.name == name;
                     });
}

void RemoveWrappers(InputText* text) {
  (text->format == LYD_XML ? RemoveXmlWrappers : RemoveJsonWrapper)(text);
}

}  // namespace ipav::datastore
