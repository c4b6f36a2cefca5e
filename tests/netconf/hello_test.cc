#include "netconf/hello.h"

#include <gtest/gtest.h>

#include <string>

namespace ipav::netconf {
namespace {

constexpr char kBase10[] =
    "<capability>urn:ietf:params:netconf:base:1.0</capability>";
constexpr char kBase11[] =
    "<capability>\n  urn:ietf:params:netconf:base:1.1\n</capability>";

std::string Hello(const std::string& capabilities,
                  const std::string& more = "") {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<hello "
         "xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><capabilities>" +
         capabilities + "</capabilities>" + more + "</hello>";
}

std::string Refusal(const std::string& hello) {
  try {
    static_cast<void>(FramingAfter(hello));
  } catch (const HelloError& error) {
    return error.what();
  }
  return "";
}

TEST(HelloTest, OfNetconf11LeadsToChunks) {
  EXPECT_EQ(FramingAfter(Hello(kBase11)), Framing::kChunked);
  EXPECT_EQ(FramingAfter(Hello(std::string(kBase10) + kBase11)),
            Framing::kChunked);
  EXPECT_EQ(FramingAfter(ClientHello()), Framing::kChunked);
}

TEST(HelloTest, OfNetconf10AloneLeadsToMarks) {
  EXPECT_EQ(FramingAfter(Hello(kBase10)), Framing::kEndOfMessage);
}

TEST(HelloTest, WithoutAKnownVersionIsRefused) {
  EXPECT_EQ(Refusal(Hello("")), "the hello names neither NETCONF 1.0 nor 1.1");
  EXPECT_EQ(Refusal(Hello("<capability>urn:ietf:params:netconf:base:1.10"
                          "</capability>")),
            "the hello names neither NETCONF 1.0 nor 1.1");
}

TEST(HelloTest, WithASessionIdIsRefused) {
  EXPECT_EQ(Refusal(Hello(kBase11, "<session-id>4</session-id>")),
            "the hello of a client has a session-id");
}

TEST(HelloTest, ThatIsNoneIsRefused) {
  for (const char* text :
       {"", "hello", "<hello/>", "<hello", "<rpc/>",
        "<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"/>"}) {
    EXPECT_EQ(Refusal(text), "the first message is no hello") << text;
  }
}

TEST(HelloTest, WithEntitiesIsRefused) {
  const std::string hello = Hello(kBase11);
  const std::size_t start = hello.find("<hello");
  EXPECT_EQ(Refusal(hello.substr(0, start) +
                    "<!DOCTYPE hello [<!ENTITY a 'b'>]>" + hello.substr(start)),
            "the first message is no hello");
}

}  // namespace
}  // namespace ipav::netconf
