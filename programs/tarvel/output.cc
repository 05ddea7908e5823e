#include "programs/tarvel/output.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "programs/tarvel/commands.h"
#include "text/printable_text.h"
#include "text/utf8.h"

namespace tarvel::viewer {

namespace {

// JSON allows DEL, C1 and bidirectional controls in its strings, which a terminal would obey. They
// occur in strings alone, and none lies above U+FFFF.
std::string escaped(const std::string& json) {
  std::string safe;
  for (std::string_view rest = json; !rest.empty();) {
    const std::string_view character = rest.substr(0, std::max<std::size_t>(utf8Length(rest), 1));
    rest.remove_prefix(character.size());
    if (character == "\n" || !isControlCharacter(character)) {
      safe.append(character);
    } else {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", codePoint(character) & 0xFFFFU);
      safe.append(escape.data());
    }
  }
  return safe;
}

std::string textOf(const Json& json, int indent) {
  return escaped(json.dump(indent, ' ', false, Json::error_handler_t::replace)) + "\n";
}

}  // namespace

std::string oneLine(const Json& json) { return textOf(json, -1); }

std::string indented(const Json& json) { return textOf(json, 2); }

int printOut(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return written && std::fflush(stdout) == 0 ? kDone : kNothing;
}

int complain(int status, const std::string& text) {
  std::fprintf(stderr, "tarvel: %s\n", text.c_str());
  return status;
}

}  // namespace tarvel::viewer
