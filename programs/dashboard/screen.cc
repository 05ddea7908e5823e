#include "programs/dashboard/screen.h"

#include <algorithm>
#include <array>
#include <clocale>
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

short pairOf(std::size_t ink) { return static_cast<short>(ink + 1); }

bool wantsColour() {
  const char* no = std::getenv("NO_COLOR");
  return (no == nullptr || *no == '\0') && has_colors();
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

bool isPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

// Pictures are drawn straight into what curses is to show next, "newscr". The standard window would
// hold each of them once more, 28 bytes a cell: it is kept at one cell, and keys are read from a
// pad, which curses does not draw when it is asked for a key.
void keepStandardWindowSmall() { wresize(stdscr, 1, 1); }

}  // namespace

// Where keys are read from.
struct Screen::Keys {
  Keys() = default;
  ~Keys() { delwin(pad); }
  Keys(const Keys&) = delete;
  Keys& operator=(const Keys&) = delete;

  WINDOW* pad = newpad(1, 1);
};

Screen::Screen() {
  std::setlocale(LC_ALL, "");
  isUnicode_ = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
  const char* terminal = std::getenv("TERM");
  isReady_ = terminal != nullptr && canPlaceCursor() && newterm(nullptr, stdout, stdin) != nullptr;
  if (!isReady_) return;
  cbreak();
  noecho();
  keepStandardWindowSmall();
  keys_ = std::make_unique<Keys>();
  keypad(keys_->pad, TRUE);
  nodelay(keys_->pad, TRUE);
  set_escdelay(25);
  curs_set(0);
  mousemask(BUTTON1_PRESSED | BUTTON1_CLICKED | BUTTON4_PRESSED | BUTTON5_PRESSED, nullptr);
  mouseinterval(0);
  hasColour_ = wantsColour();
  if (hasColour_) {
    start_color();
    use_default_colors();
  }
  setTheme(themeNamed(""));
}

Screen::~Screen() {
  if (!isReady_) return;
  keys_.reset();
  endwin();
}

void Screen::setTheme(const Theme& theme) {
  theme_ = &theme;
  if (!hasColour_ || !theme.hasColour) return;
  for (std::size_t i = 0; i < theme.inks.size(); ++i) {
    init_pair(pairOf(i), COLORS >= 256 ? theme.inks[i].rich : theme.inks[i].plain, -1);
  }
}

Box Screen::area() const { return {0, 0, LINES, COLS}; }

void Screen::begin() { werase(newscr); }
void Screen::end() { doupdate(); }
void Screen::redraw() { clearok(curscr, TRUE); }

int Screen::put(int row, int column, int width, std::string_view text, Ink ink) {
  int columns = 0;
  std::string shown;
  if (isPlain(text)) {  // most of the screen: no character to look at
    shown = text.substr(0, static_cast<std::size_t>(std::max(width, 0)));
    columns = static_cast<int>(shown.size());
  } else {
    shown = cut(printableText(text), width, isUnicode_, columns);
  }
  const auto index = static_cast<std::size_t>(ink);
  const auto& style = theme_->inks[index];
  attr_t attributes = A_NORMAL;
  if (style.isBold) attributes |= A_BOLD;
  if (style.isReversed) attributes |= A_REVERSE;
  if (hasColour_ && theme_->hasColour) attributes |= static_cast<attr_t>(COLOR_PAIR(pairOf(index)));
  wattrset(newscr, static_cast<int>(attributes));
  mvwaddstr(newscr, row, column, shown.c_str());
  wattrset(newscr, A_NORMAL);
  return columns;
}

void Screen::frame(Box box, std::string_view title, Ink ink, std::string_view note) {
  if (box.height < 2 || box.width < 4) return;
  const auto line = [&](int row, std::string_view left, std::string_view right) {
    std::string text(left);
    for (int i = 0; i < box.width - 2; ++i) text += isUnicode_ ? "─" : "-";
    text += right;
    put(row, box.left, box.width, text, Ink::kDim);
  };
  const int bottom = box.top + box.height - 1;
  line(box.top, isUnicode_ ? "╭" : "+", isUnicode_ ? "╮" : "+");
  line(bottom, isUnicode_ ? "╰" : "+", isUnicode_ ? "╯" : "+");
  for (int row = box.top + 1; row < bottom; ++row) {
    put(row, box.left, 1, isUnicode_ ? "│" : "|", Ink::kDim);
    put(row, box.left + box.width - 1, 1, isUnicode_ ? "│" : "|", Ink::kDim);
  }
  const std::string text = " " + std::string(title) + " ";
  put(box.top, box.left + 2, box.width - 4, text, ink);
  if (!note.empty()) {
    const std::string below = " " + std::string(note) + " ";
    put(bottom, box.left + 2, box.width - 4, below, Ink::kDim);
  }
}

int Screen::key() {
  const int key = wgetch(keys_->pad);
  if (key == KEY_RESIZE) keepStandardWindowSmall();
  return key;
}

}  // namespace tarvel::viewer
