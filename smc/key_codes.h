#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

// Four-character codes and 32-bit numbers. In a code the first character is the most significant
// byte: "FNum" is 0x464E756D.

namespace tarvel {

// The first `size` bytes as a big-endian number modulo 2^32; 0 for a size below 1. Base 16 reads
// the characters of a code, base 10 an unsigned integer value; bytes are 0 to 255 in either.
constexpr std::uint32_t _strtoulForSizeInBase(std::span<const std::uint8_t> bytes,
                                              std::int32_t size, std::int32_t /*base*/) {
  const std::size_t count = size < 1 ? 0 : std::min(static_cast<std::size_t>(size), bytes.size());
  std::uint32_t number = 0;
  for (const std::uint8_t byte : bytes.first(count)) number = number << 8 | byte;
  return number;
}

// The four characters of a code and a terminator. A zero byte ends the text early.
constexpr void _ultostrForValue(std::span<char, 5> text, std::uint32_t code) {
  for (std::size_t i = 0; i < 4; ++i) text[i] = static_cast<char>(code >> (24 - 8 * i) & 0xFF);
  text[4] = '\0';
}

}  // namespace tarvel
