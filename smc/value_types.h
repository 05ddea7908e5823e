#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// How the raw bytes of a controller value become text. Pure logic, callable from any thread.

namespace tarvel {

// A decoded value and its terminator: at most 14 characters, the last one a blank where the number
// leaves room for it.
inline constexpr std::size_t kValueTextSize = 15;
using ValueText = std::span<char, kValueTextSize>;

// Writes the value's text into the buffer; false, and the buffer untouched, when the type is
// unknown or is not of this size.
bool decodeValue(std::span<const std::uint8_t, 32> bytes, std::uint32_t size, std::string_view type,
                 ValueText buffer);

}  // namespace tarvel
