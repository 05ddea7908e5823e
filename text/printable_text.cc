#include "text/printable_text.h"

#include <algorithm>

#include "text/utf8.h"

namespace tarvel {
namespace {

// C0, DEL, and C1, which UTF-8 spells C2 80 to C2 9F.
bool isControl(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character.front());
  if (character.size() == 1) return lead < 0x20 || lead == 0x7F;
  return character.size() == 2 && lead == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

}  // namespace

std::string printableText(std::string_view text, std::string_view unwanted) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    const bool wanted = length > 0 && !isControl(character) &&
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
