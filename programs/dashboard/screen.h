#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "programs/dashboard/layout.h"
#include "programs/dashboard/themes.h"

// The terminal, as curses drives it, and what it can show. Leaves it as it was at the end.

namespace tarvel::viewer {

class Screen {
 public:
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Whether the terminal could be set up at all.
  bool isReady() const { return isReady_; }
  bool isUnicode() const { return isUnicode_; }

  Box area() const;

  // NO_COLOR and terminals without colours get the attributes of the theme alone.
  void setTheme(const Theme& theme);
  const Theme& theme() const { return *theme_; }

  void begin();   // an empty picture
  void end();     // shows it
  void redraw();  // everything anew, whatever the terminal shows

  // Text at a place, cut to the width in columns; returns the columns it took.
  int put(int row, int column, int width, std::string_view text, Ink ink);

  // A frame with a title in its upper edge and, where there is one, a note in its lower.
  void frame(Box box, std::string_view title, Ink ink, std::string_view note = {});

  // The next key, a character or a KEY_ code; ERR when none waits.
  int key();

 private:
  struct Keys;

  bool isReady_ = false;
  bool isUnicode_ = false;
  bool hasColour_ = false;
  const Theme* theme_ = nullptr;
  std::unique_ptr<Keys> keys_;
};

}  // namespace tarvel::viewer
