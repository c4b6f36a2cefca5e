// Reads an input from the front. All bytes are valid, and zeros follow the end,
// so that every input is valid.
#ifndef IPAV_FUZZ_SUPPORT_BYTE_READER_H_
#define IPAV_FUZZ_SUPPORT_BYTE_READER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ipav::fuzz {

class ByteReader {
 public:
  ByteReader(const std::uint8_t* data, std::size_t size)
      : at_(data), end_(data + size) {}

  bool AtEnd() const { return at_ == end_; }

  std::uint8_t Byte() { return AtEnd() ? std::uint8_t{0} : *at_++; }

  // A byte's remainder: 0 to `count` - 1.
  std::size_t Below(std::size_t count) { return Byte() % count; }

  // Four bytes, the least significant first.
  std::uint32_t Uint32();

  // As many bytes as are left, at most `count`.
  std::string Bytes(std::size_t count);

  // A length and the bytes. A length of 0xf0 or more is a long text: the
  // following byte repeated 600 * (length - 0xf0 + 1) times.
  std::string Text();

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
};

// The lines of a text, without their newlines; one at least.
std::vector<std::string> LinesOf(const std::uint8_t* data, std::size_t size);

// A text's parts between separators; one at least.
std::vector<std::string> Split(const std::string& text, char separator);

// A text as a C function sees it: up to the first NUL.
std::string UpToNul(const std::string& text);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_BYTE_READER_H_
