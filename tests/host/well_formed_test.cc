#include "host/datastore/well_formed.h"

#include <gtest/gtest.h>

#include <string>

#include "host/base/utf8.h"
#include "host/datastore/input_error.h"

namespace ipav::datastore {

namespace {

// What the XML parser says. The processing instruction at the end keeps the
// text from being plain.
bool IsWellFormed(const std::string& text) {
  try {
    RequireWellFormed({"data.xml", text + "<?p?>", 0, LYD_XML});
    return true;
  } catch (const InputError&) {
    return false;
  }
}

TEST(PlainXml, ElementsCommentsAndTextArePlain) {
  for (const std::string text :
       {"", " \r\n\t", "<a/>", "<a></a>", "<a>1</a ><b />", "<a xmlns=\"u\"/>",
        "<p:a_1.2-3 xmlns:p=\"a>b'\"\n></p:a_1.2-3>", "<!-- <b>- -->",
        "<a><!----></a>", "<a>\x7f\u00fc\u6771\U0001F600 > ]] \"</a>"}) {
    EXPECT_TRUE(IsPlainXml(text)) << text;
    EXPECT_TRUE(IsWellFormed(text)) << text;
  }
}

TEST(PlainXml, EverythingElseIsLeftToTheParser) {
  for (const std::string text :
       {"<a>&lt;</a>", "<a b=\"1\" c=\"2\"/>", "<a b='1'/>", "<a b = \"1\"/>",
        "<![CDATA[a]]>", "<?p?>", "<!DOCTYPE a>", "\ufffd", "<\u00fc/>"}) {
    EXPECT_FALSE(IsPlainXml(text)) << text;
  }
}

// Each single change of a text: where the result is plain, the parser agrees.
TEST(PlainXml, ImpliesWellFormed) {
  const std::string text =
      "<c xmlns=\"u\">\n <!-- a - b -->\n <p:i x=\"1\"><n>e 1</n>\n"
      "  <m/><o >\u00fc]] ></o ></p:i>\n</c>\n<d></d>";
  ASSERT_TRUE(IsPlainXml(text));
  std::size_t plain = 0;
  const auto check = [&](const std::string& changed) {
    if (base::ValidUtf8Size(changed) != changed.size()) return;
    if (!IsPlainXml(changed)) return;
    ++plain;
    EXPECT_TRUE(IsWellFormed(changed)) << base::Escaped(changed);
  };
  for (std::size_t at = 0; at <= text.size(); ++at) {
    for (const char* inserted :
         {"<",   ">",        "&",        "\"",   "'",        "/",      "-",
          "--",  "]",        "]]>",      " ",    "=",        ":",      "1",
          "x",   "!",        "?",        "\x01", "\xc3\xbc", "\uffff", "<!--",
          "-->", " y=\"2\"", " y=\"<\"", "<x>",  "</x>",     "<x/>"}) {
      check(std::string(text).insert(at, inserted));
      if (at < text.size()) check(std::string(text).replace(at, 1, inserted));
    }
    if (at < text.size()) check(std::string(text).erase(at, 1));
  }
  EXPECT_GT(plain, 500U);
}

}  // namespace

}  // namespace ipav::datastore
