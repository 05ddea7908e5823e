#include "text/words.h"

#include <algorithm>
#include <charconv>

namespace tarvel {
namespace {

template <typename Number>
Number leadingNumber(std::string_view text) {
  Number number{};
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

std::string_view takeWord(std::string_view& text) {
  constexpr std::string_view kBlanks = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const auto word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return word;
}

std::string_view takeLine(std::string_view& text) {
  const auto line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  return line;
}

std::uint64_t wholeNumber(std::string_view text) { return leadingNumber<std::uint64_t>(text); }
double decimalNumber(std::string_view text) { return leadingNumber<double>(text); }

}  // namespace tarvel
