#include "programs/dashboard/screen.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <string>

#include <curses.h>
#include <langinfo.h>
#include <unistd.h>

#include "programs/dashboard/terminal_check.h"
#include "text/printable_text.h"
#include "text/utf8.h"

namespace tarvel::viewer {
namespace {

constexpr std::array<std::string_view, 9> kEighths = {" ", "▏", "▎", "▍", "▌", "▋", "▊", "▉", "█"};

struct Style {
  short rich;   // colour of 256
  short plain;  // colour of 8, -1: the terminal's own
  attr_t attributes;
};

// By ink.
constexpr std::array<Style, 9> kStyles = {{
    {-1, -1, A_NORMAL},
    {110, COLOR_CYAN, A_BOLD},
    {221, COLOR_YELLOW, A_BOLD},
    {245, -1, A_DIM},
    {114, COLOR_GREEN, A_NORMAL},
    {215, COLOR_YELLOW, A_NORMAL},
    {203, COLOR_RED, A_BOLD},
    {147, COLOR_MAGENTA, A_NORMAL},
    {-1, -1, A_REVERSE},
}};

short pairOf(std::size_t ink) { return static_cast<short>(ink + 1); }

bool wantsColour() {
  const char* no = std::getenv("NO_COLOR");
  return (no == nullptr || *no == '\0') && has_colors();
}

void setUpColours() {
  start_color();
  use_default_colors();
  for (std::size_t i = 0; i < kStyles.size(); ++i) {
    init_pair(pairOf(i), COLORS >= 256 ? kStyles[i].rich : kStyles[i].plain, -1);
  }
}

// Whole characters of the text in at most this many columns; each is taken to be one wide. In
// ASCII the degree sign goes and any other character is shown as "?".
std::string cut(std::string_view text, int width, bool unicode, int& columns) {
  std::string shown;
  for (columns = 0; !text.empty() && columns < width; ++columns) {
    const auto character = text.substr(0, std::max<std::size_t>(utf8Length(text), 1));
    text.remove_prefix(character.size());
    if (unicode || character.size() == 1) {
      shown += character;
    } else if (character == "°") {
      --columns;
    } else {
      shown += '?';
    }
  }
  return shown;
}

}  // namespace

Screen::Screen() {
  std::setlocale(LC_ALL, "");
  unicode_ = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
  const char* terminal = std::getenv("TERM");
  ready_ = terminal != nullptr && canPlaceCursor() && newterm(nullptr, stdout, stdin) != nullptr;
  if (!ready_) return;
  cbreak();
  noecho();
  keypad(stdscr, TRUE);
  nodelay(stdscr, TRUE);
  set_escdelay(25);
  curs_set(0);
  mousemask(BUTTON1_PRESSED | BUTTON1_CLICKED | BUTTON4_PRESSED | BUTTON5_PRESSED, nullptr);
  mouseinterval(0);
  colour_ = wantsColour();
  if (colour_) setUpColours();
}

Screen::~Screen() {
  if (ready_) endwin();
}

Box Screen::area() const { return {0, 0, LINES, COLS}; }

void Screen::begin() { erase(); }
void Screen::end() { refresh(); }
void Screen::redraw() { clearok(stdscr, TRUE); }

int Screen::put(int row, int column, int width, std::string_view text, Ink ink) {
  const std::string printable = printableText(text);
  int columns = 0;
  const std::string shown = cut(printable, width, unicode_, columns);
  const auto& style = kStyles[static_cast<std::size_t>(ink)];
  const attr_t attributes =
      style.attributes |
      (colour_ ? static_cast<attr_t>(COLOR_PAIR(pairOf(static_cast<std::size_t>(ink)))) : A_NORMAL);
  attrset(static_cast<int>(attributes));
  mvaddstr(row, column, shown.c_str());
  attrset(A_NORMAL);
  return columns;
}

void Screen::frame(Box box, std::string_view title, Ink ink) {
  if (box.height < 2 || box.width < 4) return;
  const auto line = [&](int row, std::string_view left, std::string_view right) {
    std::string text(left);
    for (int i = 0; i < box.width - 2; ++i) text += unicode_ ? "─" : "-";
    text += right;
    put(row, box.left, box.width, text, Ink::kDim);
  };
  const int bottom = box.top + box.height - 1;
  line(box.top, unicode_ ? "╭" : "+", unicode_ ? "╮" : "+");
  line(bottom, unicode_ ? "╰" : "+", unicode_ ? "╯" : "+");
  for (int row = box.top + 1; row < bottom; ++row) {
    put(row, box.left, 1, unicode_ ? "│" : "|", Ink::kDim);
    put(row, box.left + box.width - 1, 1, unicode_ ? "│" : "|", Ink::kDim);
  }
  const std::string text = " " + std::string(title) + " ";
  put(box.top, box.left + 2, box.width - 4, text, ink);
}

int Screen::key() { return getch(); }

std::string barText(double share, int width, bool unicode) {
  const int eighths = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * width * 8));
  std::string text;
  for (int i = 0; i < width; ++i) {
    const int here = std::clamp(eighths - i * 8, 0, 8);
    if (unicode) {
      text += kEighths[static_cast<std::size_t>(here)];
    } else {
      text += here >= 4 ? '#' : ' ';
    }
  }
  return text;
}

}  // namespace tarvel::viewer
