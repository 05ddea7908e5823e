#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Which bytes are UTF-8. Pure functions, callable from any thread.

namespace tarvel {

// The length in bytes of the well-formed UTF-8 character that the text begins with; 0 when it
// begins with none. Overlong forms, surrogates and what lies above U+10FFFF are not well-formed
// (Unicode 15, table 3-7).
constexpr std::size_t utf8Length(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const auto continues = [&](std::size_t i, unsigned low, unsigned high) {
    return i < text.size() && byte(i) >= low && byte(i) <= high;
  };
  const auto tail = [&](std::size_t i) { return continues(i, 0x80, 0xBF); };
  if (text.empty()) return 0;
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return tail(1) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    const bool second = continues(1, lead == 0xE0 ? 0xA0 : 0x80, lead == 0xED ? 0x9F : 0xBF);
    return second && tail(2) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    const bool second = continues(1, lead == 0xF0 ? 0x90 : 0x80, lead == 0xF4 ? 0x8F : 0xBF);
    return second && tail(2) && tail(3) ? 4 : 0;
  }
  return 0;
}

// The number of the well-formed character that is the whole text.
constexpr std::uint32_t codePoint(std::string_view character) {
  const auto bits = [&](std::size_t i, unsigned mask) {
    return static_cast<unsigned char>(character[i]) & mask;
  };
  if (character.size() == 1) return bits(0, 0xFF);
  std::uint32_t code = bits(0, 0x7FU >> character.size());
  for (std::size_t i = 1; i < character.size(); ++i) code = code << 6 | bits(i, 0x3F);
  return code;
}

constexpr bool isUTF8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace tarvel
