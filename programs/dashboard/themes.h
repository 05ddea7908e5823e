#pragma once

#include <array>
#include <cstddef>
#include <string_view>

// The colours of the dashboard. On a terminal of 256 colours they are those of xterm's palette,
// each with a contrast of at least 4.5 against the background that the theme is for
// (WCAG 2.1, 1.4.3); on one of 8 or 16 they are the terminal's own. Pure.

namespace tarvel::viewer {

enum class Ink { kPlain, kTitle, kFocus, kDim, kGood, kWarm, kHot, kMark, kSelected };
inline constexpr std::size_t kInkCount = 9;

struct InkStyle {
  short rich = -1;   // of 256; -1: the terminal's own text colour
  short plain = -1;  // of 8
  bool isBold = false;
  bool isReversed = false;
};

struct Theme {
  std::string_view name;
  int background = 0;  // of 256, which the theme is made for
  bool hasColour = true;
  std::array<InkStyle, kInkCount> inks{};  // by Ink
};

// "dark", "light" and "mono".
inline constexpr std::size_t kThemeCount = 3;
extern const std::array<Theme, kThemeCount> kThemes;

// The theme of that name; the first one for any other name.
const Theme& themeNamed(std::string_view name);

// The theme after this one, the first after the last.
const Theme& nextTheme(const Theme& theme);

}  // namespace tarvel::viewer
