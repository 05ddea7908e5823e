#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "programs/dashboard/layout.h"
#include "programs/dashboard/screen.h"
#include "viewer/model.h"

// The model on the screen.

namespace tarvel::viewer {

enum class Overlay { kNone, kHelp, kDetails, kFilter };

// Where the user is: the focused panel, the selected row in it, what lies over the panels.
struct Cursor {
  std::size_t panel = 0;
  std::size_t row = 0;
  Overlay overlay = Overlay::kNone;
  std::string message;  // of the last deed, shown once
};

// Paints everything; returns where the panels stand, for the mouse.
std::vector<PlacedPanel> paint(Screen& screen, const Model& model, const Cursor& cursor,
                               Model::Clock::time_point now);

// The first row of a panel of this height that is shown, so that the selected one is.
std::size_t firstShownRow(std::size_t selected, int height);

}  // namespace tarvel::viewer
