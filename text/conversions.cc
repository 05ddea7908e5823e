#include "text/conversions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <compare>
#include <limits>
#include <string>
#include <system_error>

namespace tarvel {
namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

std::string_view withoutLeadingBlanks(std::string_view text) {
  const auto start = text.find_first_not_of(kBlanks);
  return start == std::string_view::npos ? std::string_view{} : text.substr(start);
}

bool takeSign(std::string_view& text) {
  if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
  const bool negative = text.front() == '-';
  text.remove_prefix(1);
  return negative;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool startsNumber(std::string_view text) {
  if (text.empty()) return false;
  if (isDigit(text.front())) return true;
  return text.front() == '.' && text.size() > 1 && isDigit(text[1]);
}

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

}  // namespace

std::int32_t intValue(std::string_view text) {
  text = withoutLeadingBlanks(text);
  const bool negative = takeSign(text);
  constexpr std::int64_t limit = std::numeric_limits<std::int32_t>::max();
  std::int64_t magnitude = 0;
  for (const char c : text) {
    if (!isDigit(c)) break;
    magnitude = std::min(magnitude * 10 + (c - '0'), limit + 1);
  }
  return static_cast<std::int32_t>(negative ? -magnitude : std::min(magnitude, limit));
}

float floatValue(std::string_view text) {
  text = withoutLeadingBlanks(text);
  const bool negative = takeSign(text);
  if (!startsNumber(text)) return 0;
  float number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec == std::errc::result_out_of_range) {
    const std::string_view spelled(text.data(), static_cast<std::size_t>(result.ptr - text.data()));
    const bool tiny = spelled.find("e-") != spelled.npos || spelled.find("E-") != spelled.npos ||
                      spelled.front() == '0' || spelled.front() == '.';
    number = tiny ? 0 : std::numeric_limits<float>::max();
  }
  return negative ? -number : number;
}

bool boolValue(std::string_view text) {
  text = withoutLeadingBlanks(text);
  takeSign(text);
  const auto start = text.find_first_not_of('0');
  if (start == std::string_view::npos) return false;
  return std::string_view("YyTt123456789").find(text[start]) != std::string_view::npos;
}

std::optional<double> numberFromText(std::string_view text) {
  text = withoutLeadingBlanks(text);
  const auto end = text.find_last_not_of(kBlanks);
  if (end == std::string_view::npos) return std::nullopt;
  text = text.substr(0, end + 1);
  const bool negative = takeSign(text);
  if (!startsNumber(text)) return std::nullopt;
  double number = 0;
  const auto result =
      std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
  if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) return std::nullopt;
  return negative ? -number : number;
}

int caseInsensitiveCompare(std::string_view a, std::string_view b) {
  const auto order = std::lexicographical_compare_three_way(
      a.begin(), a.end(), b.begin(), b.end(), [](char left, char right) {
        return static_cast<unsigned char>(lowered(left)) <=>
               static_cast<unsigned char>(lowered(right));
      });
  if (std::is_eq(order)) return 0;
  return std::is_lt(order) ? -1 : 1;
}

}  // namespace tarvel
