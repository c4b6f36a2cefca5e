// Takes an input apart from the front. Whatever the bytes are they mean
// something, and behind the end there are zeros, so that every input is one.
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

  // A length and the bytes. A length from 0xf0 on stands for a long text: 600
  // times its low four bits plus one, all of it the byte that follows.
  std::string Text();

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
};

// The lines of a text, without their newlines; one at least.
std::vector<std::string> LinesOf(const std::uint8_t* data, std::size_t size);

// A text's parts between separators; one at least.
std::vector<std::string> Split(const std::string& text, char separator);

// What a C function sees of a text.
std::string UpToNul(const std::string& text);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_BYTE_READER_H_
