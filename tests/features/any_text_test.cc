// Every question at every byte of whole, cut and mutated texts: none crashes,
// and all answers are in the text. The sanitizers find what is read outside.
#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "cli/lsp/features/completion.h"
#include "cli/lsp/features/hover.h"
#include "cli/lsp/features/names.h"
#include "cli/lsp/features/symbols.h"
#include "tests/features/marked_text.h"

namespace features_test {

namespace {

using ipav::features::Symbol;

testing::AssertionResult IsIn(const Span& span, const Span& outer) {
  if (outer.begin <= span.begin && span.begin <= span.end &&
      span.end <= outer.end) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << span.begin << ".." << span.end << " is not in " << outer.begin
         << ".." << outer.end;
}

void ExpectNodesInTheirParents(const Outline& outline) {
  for (Outline::Node node = 1; node < outline.size(); ++node) {
    const Outline::Item& item = outline[node];
    const Outline::Item& parent = outline[item.parent];
    ASSERT_TRUE(IsIn(item.whole, parent.whole)) << "node " << node;
    ASSERT_TRUE(IsIn(item.content, item.whole)) << "node " << node;
    ASSERT_TRUE(IsIn(item.name, item.head)) << "node " << node;
    ASSERT_TRUE(IsIn(outline.ValueSpan(node), item.content)) << "node " << node;
  }
}

void ExpectSymbolsInside(const std::vector<Symbol>& symbols,
                         const Span& outer) {
  for (const Symbol& symbol : symbols) {
    ASSERT_NE(symbol.name, "");
    ASSERT_TRUE(IsIn(symbol.whole, outer));
    ASSERT_TRUE(IsIn(symbol.selection, symbol.whole));
    ExpectSymbolsInside(symbol.children, symbol.whole);
  }
}

void AskAt(const Outline& outline, std::size_t offset) {
  const Span whole{0, outline.text().size()};
  const auto hover = HoverAt(outline, offset);
  ASSERT_TRUE(IsIn(hover ? hover->span : whole, whole));

  const auto completions = CompletionsAt(outline, offset, {true, false});
  ASSERT_TRUE(IsIn(completions.replaced, whole));
  ASSERT_TRUE(IsIn({offset, offset}, completions.replaced));
  ASSERT_EQ(outline.TextOf(completions.replaced).find('\n'),
            std::string_view::npos);
  ASSERT_LE(completions.comma.value_or(0), completions.replaced.begin);

  for (const Span& span : DefinitionsAt(outline, offset)) {
    ASSERT_TRUE(IsIn(span, whole));
  }
  for (const Span& span : ReferencesAt(outline, offset, true)) {
    ASSERT_TRUE(IsIn(span, whole));
  }
  ASSERT_TRUE(IsIn(RenamedAt(outline, offset), whole));
}

// Asks at every `step`-th byte.
void Ask(const std::string& bytes, std::size_t step) {
  MarkedText text("");
  text.text = bytes;
  SCOPED_TRACE(bytes);
  const Outline outline = text.Read();
  ExpectNodesInTheirParents(outline);
  ExpectSymbolsInside(SymbolsOf(outline), {0, bytes.size()});
  for (std::size_t at = 0; at <= bytes.size(); at += step) {
    AskAt(outline, at);
    if (testing::Test::HasFatalFailure()) return;
  }
}

const std::string kXml =
    "<?xml version='1.0'?>\n<!-- a -->" +
    InL3(
        "<name>a</name><vrf><![CDATA[x]]></vrf>\n<ipv4><address>"
        "<ip>10.0.0.1/8</ip></address></ipv4>") +
    "<internal xmlns=\"urn:vorplex:internal\"><ospf-interface-l3>"
    "<interface>l3-a</interface><area/></ospf-interface-l3></internal>"
    "<m:DC-RTM-MIB xmlns:m=\"urn:vorplex:dc-rtm-mib\"><m:rtmStaticRtTable>"
    "<m:rtmStaticRtEntry><m:rtmStaticRtDest>0a:&#48;0</m:rtmStaticRtDest>";
const std::string kJson =
    InJsonL3(
        "\"name\": \"a\\u0062\", \"vrf\": \"x\", \"mtu\": 1500,\n"
        "\"ipv6\": {\"address\": [{\"ip\": \"2001:db8::1/64\"}, {}]}") +
    " ";

class AnyText : public testing::TestWithParam<std::string> {};

TEST_P(AnyText, IsAnsweredAtEveryByte) { Ask(GetParam(), 1); }

TEST_P(AnyText, IsAnsweredWhereItIsCut) {
  for (std::size_t end = 0; end < GetParam().size(); ++end) {
    const std::string text = GetParam().substr(0, end);
    Ask(text, std::max<std::size_t>(end, 1));
    if (HasFatalFailure()) return;
  }
}

TEST_P(AnyText, IsAnsweredWhereItIsMutated) {
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
  const auto below = [&](std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
  };
  const std::string kSpecial = "<>/\"'&{}[],:\\\n ax-!?";
  for (int i = 0; i < 100; ++i) {
    std::string text = GetParam();
    for (std::size_t left = 1 + below(4); left > 0; --left) {
      const std::size_t at = below(text.size());
      text.replace(at, below(3),
                   std::string(below(3), kSpecial[below(kSpecial.size())]));
      text.erase(below(text.size()), below(30));
    }
    Ask(text, 1 + below(40));
    if (HasFatalFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, AnyText, testing::Values(kXml, kJson),
                         [](const auto& row) {
                           return row.index == 0 ? "Xml" : "Json";
                         });

// Repeated, these would keep a reader that searches the text for each of them
// busy for a minute.
TEST(HostileText, IsReadInTime) {
  constexpr std::size_t kSize = 300000;
  for (const char* piece :
       {"<a>", "<a", "<a '", "</b>", "<a></b>", "<!--", "<![CDATA[", "{", "[",
        "[}", "{]", "{\"a\":", "\"a\":,", "\"", "&"}) {
    SCOPED_TRACE(piece);
    const bool is_json =
        std::string_view("{[\"").find(piece[0]) != std::string_view::npos;
    MarkedText text(is_json ? "{" : "");
    while (text.text.size() < kSize) text.text += piece;

    const auto start = std::chrono::steady_clock::now();
    const Outline outline = text.Read();
    AskAt(outline, kSize / 2);
    AskAt(outline, kSize);
    if (HasFatalFailure()) return;
    EXPECT_LT(std::chrono::steady_clock::now() - start,
              std::chrono::seconds(5));
  }
}

}  // namespace

}  // namespace features_test
