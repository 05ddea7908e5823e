#include "text/decimal_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace tarvel {
namespace {

// The longest double: a sign, 309 digits, the point and the decimals asked for.
using WholeText = std::array<char, 352>;

std::string_view wholeText(double number, int decimals, WholeText& text) {
  const auto result = std::to_chars(text.data(), text.data() + text.size(), number,
                                    std::chars_format::fixed, decimals);
  if (result.ec != std::errc{}) return {};
  return {text.data(), static_cast<std::size_t>(result.ptr - text.data())};
}

}  // namespace

std::string decimalText(double number, int decimals) {
  WholeText whole;
  return std::string(wholeText(number, decimals, whole));
}

std::string_view decimalText(double number, int decimals, std::span<char> buffer) {
  const auto direct = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                    std::chars_format::fixed, decimals);
  if (direct.ec == std::errc{}) {
    return {buffer.data(), static_cast<std::size_t>(direct.ptr - buffer.data())};
  }
  WholeText whole;
  const auto text = wholeText(number, decimals, whole).substr(0, buffer.size());
  std::ranges::copy(text, buffer.begin());
  return {buffer.data(), text.size()};
}

}  // namespace tarvel
