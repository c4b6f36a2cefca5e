// UTF-8 (RFC 3629) for texts that may hold any bytes, such as the output of a
// plug-in or a user's input.
#ifndef IPAV_HOST_BASE_UTF8_H_
#define IPAV_HOST_BASE_UTF8_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace ipav::base {

inline constexpr char kReplacementCharacter[] = "\xef\xbf\xbd";  // U+FFFD

struct Utf8Character {
  char32_t number = 0;    // the code point; 0 if the bytes are not UTF-8
  std::size_t size = 1;   // in bytes, at least 1
  bool is_valid = false;  // otherwise `size` bytes are to be replaced as one
};

// The character at the start of `text`, which must not be empty.
Utf8Character FirstCharacter(std::string_view text);

// The number of bytes before the first one that is not UTF-8.
std::size_t ValidUtf8Size(std::string_view text);

// The first `count` characters of `text`, or all that it has.
std::string_view FirstCharacters(std::string_view text, std::size_t count);

// Whether this is the second or a later byte of a character.
constexpr bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U;
}

// The number of characters of a UTF-8 text.
std::size_t CountCharacters(std::string_view text);

// Left-to-right and right-to-left marks, embeddings, overrides and isolates:
// with them a text can look like another one.
bool ChangesDirection(char32_t number);

// False for control characters (also U+0080 to U+009F, which terminals
// interpret), for the separators of lines and paragraphs, and for characters
// that change the direction of writing.
bool IsPrintable(char32_t number);

// Whether `text` is UTF-8 and all its characters are printable.
bool IsPrintable(std::string_view text);

// `text` for a terminal or a log, on one line: characters that are not
// printable become \xNN or \uNNNN.
std::string Printable(std::string_view text);

// The same for a text in quotes, with \", \\, \n, \r and \t; Quoted() adds the
// quotes.
std::string Escaped(std::string_view text);
std::string Quoted(std::string_view text);

// A text in a line; in quotes if its ends would not be visible, or if a
// terminal would interpret it.
std::string QuotedIfNeeded(const std::string& text);

// `bytes` with U+FFFD in place of bytes that are not UTF-8.
std::string ToUtf8(std::string_view bytes);

// The same for XML 1.0: control characters other than tab and line feed become
// \xNN. (An XML reader would turn a carriage return into a line feed.)
std::string ToXmlText(std::string_view bytes);

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_UTF8_H_
