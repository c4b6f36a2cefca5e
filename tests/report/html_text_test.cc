#include "cli/report/html/html_text.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/report/page_tree.h"

namespace {

using ipav::cli::report::Count;
using ipav::cli::report::Escaped;
using ipav::cli::report::Html;
using ipav::testing::PageTree;

TEST(Escaped, LeavesPlainTextAlone) {
  EXPECT_EQ(Escaped("l3 core1 10.1.1.1/24 {a-b_c}"),
            "l3 core1 10.1.1.1/24 {a-b_c}");
  EXPECT_EQ(Escaped("Zürich 東京 😀"), "Zürich 東京 😀");
  EXPECT_EQ(Escaped("two\nlines\tand a tab"), "two\nlines\tand a tab");
  EXPECT_EQ(Escaped(""), "");
}

TEST(Escaped, LetsNoMarkupThrough) {
  EXPECT_EQ(Escaped("<script>alert('1' & \"2\")</script>"),
            "&lt;script&gt;alert(&#39;1&#39; &amp; &quot;2&quot;)"
            "&lt;/script&gt;");
  EXPECT_EQ(Escaped("&lt;"), "&amp;lt;");
  EXPECT_EQ(Escaped("]]>"), "]]&gt;");
}

TEST(Escaped, ShowsControlCharactersBySymbol) {
  EXPECT_EQ(Escaped(std::string("a\0b", 3)), "a\u2400b");
  EXPECT_EQ(Escaped("\x1b[31m\r\x7f"), "\u241b[31m\u240d\u2421");
  EXPECT_EQ(Escaped("\xc2\x85"), "\ufffd");  // U+0085
}

// Texts as they are meant to mislead.
// NOLINTBEGIN(misc-misleading-bidirectional)
TEST(Escaped, ShowsWhatTurnsTheDirectionOfWritingByNumber) {
  EXPECT_EQ(Escaped("a\xe2\x80\xae"
                    "b"),
            "a[U+202E]b");
  EXPECT_EQ(Escaped("\xe2\x81\xa6\xe2\x80\x8f\xd8\x9c"),
            "[U+2066][U+200F][U+061C]");
}
// NOLINTEND(misc-misleading-bidirectional)

TEST(Escaped, ReplacesBytesThatAreNoUtf8) {
  EXPECT_EQ(Escaped("a\xff"
                    "b"),
            "a\ufffdb");
  EXPECT_EQ(Escaped("\xc0\xbc"), "\ufffd\ufffd");            // a long '<'
  EXPECT_EQ(Escaped("\xe0\x80\xbc"), "\ufffd\ufffd\ufffd");  // a longer one
  EXPECT_EQ(Escaped("\xed\xa0\x80"), "\ufffd\ufffd\ufffd");  // U+D800
  EXPECT_EQ(Escaped("\xf4\x90\x80\x80"), "\ufffd\ufffd\ufffd\ufffd");
  EXPECT_EQ(Escaped("\xe2\x82"), "\ufffd");      // cut off
  EXPECT_EQ(Escaped("\xe2<"), "\ufffd&lt;");     // not swallowed
  EXPECT_EQ(Escaped("\xef\xbf\xbf"), "\ufffd");  // U+FFFF
}

TEST(Escaped, IsTextForAParserWhateverTheBytes) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string text = {static_cast<char>(first),
                                static_cast<char>(second)};
      Html html;
      html.Markup("<p a=\"").Text(text).Markup("\">").Text(text).Markup("</p>");
      const PageTree tree(html.str());
      ASSERT_EQ(tree.error(), "") << first << " " << second;
      ASSERT_EQ(tree.Count("//*"), 1U) << first << " " << second;
      ASSERT_EQ(tree.Count("//@*"), 1U) << first << " " << second;
    }
  }
}

TEST(Html, WritesSharesAsPercentages) {
  EXPECT_EQ(Html().Share(0).str(), "0%");
  EXPECT_EQ(Html().Share(0.125).str(), "12.5%");
  EXPECT_EQ(Html().Share(1).str(), "100%");
}

TEST(Count, NamesOneAndMany) {
  EXPECT_EQ(Count(0, "prefix", "prefixes"), "0 prefixes");
  EXPECT_EQ(Count(1, "prefix", "prefixes"), "1 prefix");
  EXPECT_EQ(Count(2, "prefix", "prefixes"), "2 prefixes");
}

TEST(Html, LetsAPathGoOnInTheNextLineInFrontOfANode) {
  EXPECT_EQ(Html().Path("/config/l3{a&b}/ip{10.0.0.1/24}/x").str(),
            "/config<wbr />/l3{a&amp;b}<wbr />/ip{10.0.0.1/24}<wbr />/x");
  EXPECT_EQ(Html().Path("point").str(), "point");
  EXPECT_EQ(Html().Path("").str(), "");
}

}  // namespace
