#include "programs/dashboard/terminal/terminal_codes.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

#include "programs/dashboard/terminal/key_decoder.h"

namespace tarvel::viewer {
namespace {

// Which keys tell of themselves: the mouse's buttons and wheel in xterm's numbers, "1006", and in
// the older ones where those are not known (xterm control sequences).
constexpr const char* kMouseOn = "\033[?1000h\033[?1006h";
constexpr const char* kMouseOff = "\033[?1006l\033[?1000l";

constexpr std::pair<const char*, int> kNamedKeys[] = {
    {"kcuu1", kKeyUp},   {"kcud1", kKeyDown},   {"khome", kKeyHome},   {"kend", kKeyEnd},
    {"kpp", kKeyPageUp}, {"knp", kKeyPageDown}, {"kcbt", kKeyBackTab}, {"kbs", kKeyBackspace},
    {"kent", kKeyEnter}, {"kf1", kKeyF1},       {"kf7", kKeyF7},       {"kf9", kKeyF9}};

// Without its delays, "$<5/>".
std::string text(const char* capability) {
  const char* const value = ::tigetstr(capability);
  // A capability of another type gives -1.
  if (value == nullptr || value == reinterpret_cast<const char*>(-1)) return "";  // NOLINT
  std::string plain = value;
  for (auto begin = plain.find("$<"); begin != std::string::npos; begin = plain.find("$<", begin)) {
    const auto end = plain.find('>', begin);
    if (end == std::string::npos) break;
    plain.erase(begin, end + 1 - begin);
  }
  return plain;
}

template <typename... Numbers>
std::string expanded(const std::string& capability, Numbers... numbers) {
  const char* const value = ::tiparm(capability.c_str(), numbers...);
  return value == nullptr ? "" : value;
}

std::vector<std::pair<std::string, int>> namedKeys() {
  std::vector<std::pair<std::string, int>> keys;
  for (const auto& [capability, code] : kNamedKeys) {
    if (std::string sent = text(capability); !sent.empty()) keys.emplace_back(sent, code);
  }
  return keys;
}

}  // namespace

std::string TerminalCodes::placeAt(int row, int column) const {
  return expanded(place, row, column);
}

std::string TerminalCodes::colourOf(int number) const { return expanded(colour, number); }

std::optional<TerminalCodes> terminalCodes(const char* name) {
  int status = 0;
  if (name == nullptr || ::setupterm(name, STDOUT_FILENO, &status) != OK) return std::nullopt;
  TerminalCodes codes;
  codes.place = text("cup");
  codes.clear = text("clear");
  if (codes.placeAt(0, 0).empty() || codes.clear.empty()) return std::nullopt;
  const bool hasMouse = !text("kmous").empty();
  codes.enter = text("smcup") + text("smkx") + text("civis") + (hasMouse ? kMouseOn : "");
  codes.leave = (hasMouse ? kMouseOff : "") + text("cnorm") + text("rmkx") + text("rmcup");
  codes.plain = text("sgr0");
  codes.bold = text("bold");
  codes.reversed = text("rev");
  codes.colour = text("setaf");
  codes.colours = codes.colour.empty() ? 0 : ::tigetnum("colors");
  // Where the cursor goes to the next line at once, the last cell of all would scroll the screen.
  codes.fillsLastCell = ::tigetflag("am") <= 0 || ::tigetflag("xenl") > 0;
  codes.keys = namedKeys();
  ::del_curterm(::cur_term);
  return codes;
}

}  // namespace tarvel::viewer
