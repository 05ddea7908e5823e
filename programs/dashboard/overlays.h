#pragma once

#include <array>
#include <string>
#include <string_view>

#include "programs/dashboard/painter.h"

// What lies over the panels: help, details of a row, the signal menu.

namespace tarvel::viewer {

void paintOverlay(Screen& screen, Model& model, const Cursor& cursor);

// What the bottom line asks for while something is typed; empty when nothing is.
std::string promptText(const Model& model, const Cursor& cursor);

// The signals of the menu, by their key.
struct MenuSignal {
  char key;
  int signal;
  std::string_view name;
  std::string_view meaning;
};
inline constexpr std::size_t kMenuSignalCount = 6;
extern const std::array<MenuSignal, kMenuSignalCount> kMenuSignals;

}  // namespace tarvel::viewer
