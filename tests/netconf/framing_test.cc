#include "netconf/framing.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <optional>
#include <string>
#include <vector>

namespace ipav::netconf {
namespace {

constexpr std::size_t kMax = 100;

// The messages in `bytes`, which come in pieces of that size.
std::vector<std::string> MessagesIn(Framing framing, const std::string& bytes,
                                    std::size_t piece = 1) {
  Deframer deframer(kMax);
  deframer.set_framing(framing);
  std::vector<std::string> messages;
  for (std::size_t i = 0; i < bytes.size(); i += piece) {
    deframer.Add(bytes.substr(i, piece));
    while (auto message = deframer.Next()) messages.push_back(*message);
  }
  return messages;
}

using Texts = std::vector<std::string>;

TEST(FramingTest, FramesAMessageByAMarkBehindIt) {
  EXPECT_EQ(Frame(Framing::kEndOfMessage, "<a/>"), "<a/>]]>]]>");
}

TEST(FramingTest, FramesAMessageAsOneChunk) {
  EXPECT_EQ(Frame(Framing::kChunked, "<a/>"), "\n#4\n<a/>\n##\n");
}

TEST(FramingTest, FindsMessagesWhateverPiecesTheyComeIn) {
  for (std::size_t piece = 1; piece < 40; ++piece) {
    EXPECT_EQ(MessagesIn(Framing::kEndOfMessage, "<a/>]]>]]><b/>]]>]]>", piece),
              (Texts{"<a/>", "<b/>"}))
        << piece;
    EXPECT_EQ(MessagesIn(Framing::kChunked,
                         "\n#4\n<a/>\n##\n\n#1\n<\n#3\nb/>\n##\n", piece),
              (Texts{"<a/>", "<b/>"}))
        << piece;
  }
}

TEST(FramingTest, TakesAnAlmostMarkForText) {
  EXPECT_EQ(MessagesIn(Framing::kEndOfMessage, "]]>]]]]>]>]]>]]>"),
            (Texts{"]]>]]]]>]>"}));
}

TEST(FramingTest, TakesAMarkAndAHeaderWithinAChunkForText) {
  EXPECT_EQ(MessagesIn(Framing::kChunked, "\n#10\n]]>]]>\n##\n\n##\n"),
            (Texts{"]]>]]>\n##\n"}));
}

TEST(FramingTest, GivesNothingOfAMessageThatIsNotWhole) {
  EXPECT_EQ(MessagesIn(Framing::kChunked, "\n#4\n<a/>\n##"), Texts{});
  EXPECT_EQ(MessagesIn(Framing::kEndOfMessage, "<a/>]]>]]"), Texts{});
}

class NoFramingTest : public ::testing::TestWithParam<const char*> {};

TEST_P(NoFramingTest, IsAnError) {
  for (std::size_t piece = 1; piece < 30; ++piece) {
    EXPECT_THROW(MessagesIn(Framing::kChunked, GetParam(), piece), FramingError)
        << piece;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Chunks, NoFramingTest,
    ::testing::Values("<a/>", "#4\n<a/>", "\n<a/>", "\n#\n", "\n#0\n",
                      "\n#04\n", "\n#-4\n", "\n#+4\n", "\n# 4\n", "\n#4 \n",
                      "\n#4x\n", "\n#4294967296\n", "\n#99999999999999999999",
                      "\n#111111111111", "\n##\n", "\n#4\n<a/>\n###\n",
                      "\n#4\n<a/>\n##\r\n", "\n#4\n<a/>]]>]]>",
                      "\n#4\n<a/>\n#x\n", "\r\n#4\r\n<a/>"));

TEST(FramingTest, TakesTheLargestMessageAndNoLargerOne) {
  const std::string largest(kMax, 'x');
  EXPECT_EQ(MessagesIn(Framing::kChunked, Frame(Framing::kChunked, largest)),
            Texts{largest});
  EXPECT_EQ(MessagesIn(Framing::kEndOfMessage,
                       Frame(Framing::kEndOfMessage, largest)),
            Texts{largest});
  EXPECT_THROW(
      MessagesIn(Framing::kChunked, Frame(Framing::kChunked, largest + "x")),
      FramingError);
  EXPECT_THROW(MessagesIn(Framing::kEndOfMessage,
                          Frame(Framing::kEndOfMessage, largest + "x")),
               FramingError);
}

TEST(FramingTest, KnowsThatPartOfAMessageCame) {
  for (const char* part : {"#4", "#4\n", "#4\n<", "#4\n<a/>", "#4\n<a/>\n##"}) {
    Deframer deframer(kMax);
    deframer.set_framing(Framing::kChunked);
    deframer.Add("\n");
    EXPECT_EQ(deframer.Next(), std::nullopt);
    EXPECT_FALSE(deframer.has_part());
    deframer.Add(part);
    EXPECT_EQ(deframer.Next(), std::nullopt) << part;
    EXPECT_TRUE(deframer.has_part()) << part;
  }
}

TEST(FramingTest, RefusesALargeChunkBeforeItComes) {
  EXPECT_THROW(MessagesIn(Framing::kChunked, "\n#4294967295\n"), FramingError);
}

TEST(FramingTest, RefusesAMessageWithoutAnEndOnceItIsTooLarge) {
  EXPECT_THROW(MessagesIn(Framing::kEndOfMessage, std::string(2 * kMax, 'x')),
               FramingError);
  std::string chunks;
  for (std::size_t i = 0; i <= kMax; ++i) chunks += "\n#1\nx";
  EXPECT_THROW(MessagesIn(Framing::kChunked, chunks), FramingError);
}

TEST(FramingTest, KeepsNoMessagesThatItReturned) {
  for (const Framing framing : {Framing::kEndOfMessage, Framing::kChunked}) {
    const std::string framed = Frame(framing, std::string(kMax, 'x'));
    Deframer deframer(kMax);
    deframer.set_framing(framing);
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 10000; ++i) {
      deframer.Add(framed);
      while (deframer.Next().has_value()) {
      }
    }
    EXPECT_LT(mallinfo2().uordblks, before + 10 * kMax);
  }
}

}  // namespace
}  // namespace ipav::netconf
