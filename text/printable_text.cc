#include "text/printable_text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "text/utf8.h"

namespace tarvel {
bool isControlCharacter(std::string_view character) {
  constexpr std::pair<std::uint32_t, std::uint32_t> kControls[] = {
      {0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
      {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
  const std::uint32_t code = codePoint(character);
  return std::ranges::any_of(
      kControls, [&](const auto& range) { return code >= range.first && code <= range.second; });
}

std::string printableText(std::string_view text, std::string_view unwanted) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    const bool wanted = length > 0 && !isControlCharacter(character) &&
                        unwanted.find(character.front()) == std::string_view::npos;
    if (wanted) {
      shown.append(character);
    } else {
      shown.push_back('?');
    }
    text.remove_prefix(character.size());
  }
  return shown;
}

}  // namespace tarvel
