#pragma once

#include <string>
#include <string_view>

#include "programs/dashboard/layout.h"

// The terminal, as curses drives it, and what it can show. Leaves it as it was at the end.

namespace tarvel::viewer {

enum class Ink { kPlain, kTitle, kFocus, kDim, kGood, kWarm, kHot, kMark, kSelected };

class Screen {
 public:
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Whether the terminal could be set up at all.
  bool isReady() const { return ready_; }
  bool isUnicode() const { return unicode_; }

  Box area() const;

  void begin();   // an empty picture
  void end();     // shows it
  void redraw();  // everything anew, whatever the terminal shows

  // Text at a place, cut to the width in columns; returns the columns it took.
  int put(int row, int column, int width, std::string_view text, Ink ink);

  // A frame with a title in its upper edge.
  void frame(Box box, std::string_view title, Ink ink);

  // The next key, a character or a KEY_ code; ERR when none waits.
  int key();

 private:
  bool ready_ = false;
  bool unicode_ = false;
  bool colour_ = false;
};

// A bar of this many columns, filled to the share.
std::string barText(double share, int width, bool unicode);

}  // namespace tarvel::viewer
