#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/apple_smc.h"

// The request and answer record of the AppleSMC user client as a service sees it: what it reads of
// a request and writes into an answer. Multi-byte fields are little-endian.

namespace tarvel::smc_record {

inline constexpr std::uint8_t kReadBytes = 5;
inline constexpr std::uint8_t kReadKeyInfo = 9;

inline constexpr std::size_t kKeyAt = 0;
inline constexpr std::size_t kDataSizeAt = 28;
inline constexpr std::size_t kDataTypeAt = 32;
inline constexpr std::size_t kResultAt = 40;
inline constexpr std::size_t kCommandAt = 42;
inline constexpr std::size_t kBytesAt = 48;

constexpr std::uint32_t numberAt(const SMCRecordBytes& record, std::size_t offset) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | record[offset + i];
  return number;
}

constexpr void putNumber(SMCRecordBytes& record, std::size_t offset, std::uint32_t number) {
  for (std::size_t i = 0; i < 4; ++i) {
    record[offset + i] = static_cast<std::uint8_t>(number >> (8 * i));
  }
}

// Keys and types as four characters, the first one in the number's most significant byte.
constexpr std::uint32_t codeOf(std::string_view text) {
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    code = code << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
  }
  return code;
}

inline std::string codeText(std::uint32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text.push_back(static_cast<char>(code >> shift));
  return text;
}

}  // namespace tarvel::smc_record
