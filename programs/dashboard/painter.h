#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "programs/dashboard/layout.h"
#include "programs/dashboard/screen.h"
#include "viewer/model.h"
#include "viewer/process_target.h"
#include "viewer/sources/source_listing.h"

// The model on the screen.

namespace tarvel::viewer {

enum class Overlay { kNone, kHelp, kDetails, kFilter, kSignal, kNice };

// Where the user is. The selection is a row, not a line: it moves with its process or sensor.
struct Cursor {
  std::size_t panel = 0;
  std::string rowId;    // empty: the first row
  std::size_t row = 0;  // where that row is now, or was last
  bool isZoomed = false;
  bool showsColumns = true;
  Overlay overlay = Overlay::kNone;
  std::string input;                    // what has been typed into a prompt
  std::optional<ProcessTarget> target;  // what a signal or a priority is for
  std::string targetName;
  DisplayRow detailed;  // the row of the details, as it was last
  std::string message;  // of the last action, shown once
  SourceListing sources;
};

// What stands where, for the mouse.
struct Picture {
  struct Head {
    Box box;
    Order order;
  };
  std::vector<PlacedPanel> panels;
  std::vector<Head> heads;  // column heads, which choose the order
};

Picture paint(Screen& screen, Model& model, const Cursor& cursor);

// The rows of a panel in a box of this height and width: how many stand side by side and which one
// is the first, so that the selected one is shown.
struct ShownRows {
  std::size_t first = 0;
  std::size_t columns = 1;
  std::size_t perColumn = 0;
};
ShownRows shownRows(const PanelView& panel, Box inner, std::size_t selected);

// The inside of a panel's box: without its frame and, for a list, the line of its column heads.
Box innerOf(const PanelView& panel, Box box);

}  // namespace tarvel::viewer
