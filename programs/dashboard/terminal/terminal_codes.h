#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

// What a kind of terminal understands and what its keys send, from the terminfo database
// (terminfo(5)). Delays that old terminals need are left out.

namespace tarvel::viewer {

struct TerminalCodes {
  std::string enter;  // its second screen, keys as terminfo tells them, no cursor, the mouse's keys
  std::string leave;  // and back
  std::string clear;
  std::string plain;  // ends bold, reversed and coloured text
  std::string bold;
  std::string reversed;
  std::string colour;                             // with the number of a colour
  std::string place;                              // of the cursor, with a row and a column from 0
  int colours = 0;                                // how many there are
  bool fillsLastCell = true;                      // without scrolling
  std::vector<std::pair<std::string, int>> keys;  // what they send, a KeyCode of each

  std::string placeAt(int row, int column) const;
  std::string colourOf(int number) const;
};

// Of the terminal with this name, as in the environment variable TERM; none where it is not known
// or cannot place its cursor.
std::optional<TerminalCodes> terminalCodes(const char* name);

}  // namespace tarvel::viewer
