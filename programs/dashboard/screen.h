#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "programs/dashboard/layout.h"
#include "programs/dashboard/terminal/cell_buffer.h"
#include "programs/dashboard/terminal/key_decoder.h"
#include "programs/dashboard/terminal/terminal_codes.h"
#include "programs/dashboard/terminal/terminal_mode.h"
#include "programs/dashboard/themes.h"

// The terminal of standard input and output: pictures, of which only what has changed is written,
// and keys. Leaves it as it was at the end. For one thread, once in a program.

namespace tarvel::viewer {

class Screen {
 public:
  // Of the kind of terminal that TERM names and the locale of the environment.
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Whether the terminal can show pictures at all.
  bool isReady() const { return codes_.has_value(); }
  bool isUnicode() const { return isUnicode_; }

  Box area() const;

  // NO_COLOR and terminals without colours get the attributes of the theme alone.
  void setTheme(const Theme& theme);
  const Theme& theme() const { return *theme_; }

  void begin();   // an empty picture, of the size that the terminal had at the latest key()
  void end();     // shows it
  void redraw();  // everything anew in the next picture, whatever the terminal shows

  // Text at a place, cut to the width in columns; returns the columns it took.
  int put(int row, int column, int width, std::string_view text, Ink ink);

  // A frame with a title in its upper edge and, where there is one, a note in its lower.
  void frame(Box box, std::string_view title, Ink ink, std::string_view note = {});

  // The next key, none where none waits. Waits 25 ms where an escape may begin a longer key.
  std::optional<Key> key();

  // Gives the terminal back and stops this process, as ^Z asks; goes on when it is continued.
  void suspend();

 private:
  void enter();
  void leave();
  std::string styleOf(const InkStyle& style) const;

  bool isUnicode_ = false;
  bool hasColour_ = false;
  std::optional<TerminalCodes> codes_;
  std::optional<TerminalMode> mode_;
  std::optional<KeyDecoder> keys_;
  const Theme* theme_ = &themeNamed("");
  std::array<std::string, kInkCount> styles_;  // by Ink
  Box size_;
  bool isShownKnown_ = false;
  CellBuffer shown_;
  CellBuffer next_;
};

}  // namespace tarvel::viewer
