#include "smc/value_types.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>

#include "smc/key_codes.h"
#include "text/decimal_text.h"

namespace tarvel {
namespace {

enum class Raw {
  unsignedInteger,  // big-endian, of all its bytes
  single,           // IEEE 754 single precision, little-endian
  unsigned16,       // big-endian
  signed16,         // big-endian, two's complement
  integer16,        // as unsigned16, printed as an integer
  integer8,         // two's complement, printed as an integer
  percent16,        // as unsigned16, in hundredths of the scale, printed with a percent sign
};

constexpr std::uint32_t kAnySize = UINT32_MAX;
constexpr std::int32_t kLongestInteger = 4;

struct ValueType {
  std::string_view code;
  std::uint32_t size;
  Raw raw;
  double scale;
  int decimals;
};

// Tried in this order. In the fixed-point codes the last character is the number of fraction bits
// in hexadecimal, which gives the scale; the decimals do not follow from it.
constexpr auto kValueTypes = std::to_array<ValueType>({
    {"ui8 ", kAnySize, Raw::unsignedInteger, 1, 0},
    {"ui16", kAnySize, Raw::unsignedInteger, 1, 0},
    {"ui32", kAnySize, Raw::unsignedInteger, 1, 0},
    {"flt ", 4, Raw::single, 1, 0},
    {"fp1f", 2, Raw::unsigned16, 1.0 / 32768, 5},
    {"fp4c", 2, Raw::unsigned16, 1.0 / 4096, 5},
    {"fp5b", 2, Raw::unsigned16, 1.0 / 2048, 5},
    {"fp6a", 2, Raw::unsigned16, 1.0 / 1024, 4},
    {"fp79", 2, Raw::unsigned16, 1.0 / 512, 4},
    {"fp88", 2, Raw::unsigned16, 1.0 / 256, 3},
    {"fpa6", 2, Raw::unsigned16, 1.0 / 64, 2},
    {"fpc4", 2, Raw::unsigned16, 1.0 / 16, 2},
    {"fpe2", 2, Raw::unsigned16, 1.0 / 4, 2},
    {"sp1e", 2, Raw::signed16, 1.0 / 16384, 5},
    {"sp2d", 2, Raw::signed16, 1.0 / 8192, 5},
    {"sp3c", 2, Raw::signed16, 1.0 / 4096, 5},
    {"sp4b", 2, Raw::signed16, 1.0 / 2048, 4},
    {"sp5a", 2, Raw::signed16, 1.0 / 1024, 4},
    {"sp69", 2, Raw::signed16, 1.0 / 512, 3},
    {"sp78", 2, Raw::signed16, 1.0 / 256, 3},
    {"sp87", 2, Raw::signed16, 1.0 / 128, 3},
    {"sp96", 2, Raw::signed16, 1.0 / 64, 2},
    {"spb4", 2, Raw::signed16, 1.0 / 16, 2},
    {"spf0", 2, Raw::unsigned16, 1, 0},
    {"si16", 2, Raw::integer16, 1, 0},
    {"si8 ", 1, Raw::integer8, 1, 0},
    {"{pwm", 2, Raw::percent16, 1.0 / 65536, 1},
});

const ValueType* findType(std::string_view code, std::uint32_t size) {
  const auto row = std::ranges::find_if(kValueTypes, [&](const ValueType& type) {
    return type.code == code && (type.size == kAnySize || type.size == size);
  });
  return row == kValueTypes.end() ? nullptr : &*row;
}

std::size_t writeInteger(std::int64_t number, std::span<char> buffer) {
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  return static_cast<std::size_t>(result.ptr - buffer.data());
}

std::size_t writeReal(double number, const ValueType& type, std::span<char> buffer) {
  return decimalText(number * type.scale, type.decimals, buffer).size();
}

std::size_t writeNumber(std::span<const std::uint8_t, 32> bytes, std::int32_t size,
                        const ValueType& type, std::span<char> buffer) {
  const std::uint32_t number = _strtoulForSizeInBase(bytes, size, 10);
  switch (type.raw) {
    case Raw::unsignedInteger:
    case Raw::integer16:
      return writeInteger(number, buffer);
    case Raw::integer8:
      return writeInteger(static_cast<std::int8_t>(number), buffer);
    case Raw::single: {
      const auto single = std::bit_cast<float>(std::array{bytes[0], bytes[1], bytes[2], bytes[3]});
      return writeReal(single, type, buffer);
    }
    case Raw::unsigned16:
      return writeReal(number, type, buffer);
    case Raw::signed16:
      return writeReal(static_cast<std::int16_t>(number), type, buffer);
    case Raw::percent16:
      return writeReal(number * 100, type, buffer);
  }
  return 0;
}

}  // namespace

bool decodeValue(std::span<const std::uint8_t, 32> bytes, std::uint32_t size, std::string_view type,
                 ValueText buffer) {
  const ValueType* row = findType(type, size);
  if (row == nullptr || size > kLongestInteger) return false;
  const auto characters = buffer.first<kValueTextSize - 1>();
  std::size_t length = writeNumber(bytes, static_cast<std::int32_t>(size), *row, characters);
  for (const char c : row->raw == Raw::percent16 ? std::string_view("% ") : " ") {
    if (length < characters.size()) characters[length++] = c;
  }
  buffer[length] = '\0';
  return true;
}

}  // namespace tarvel
