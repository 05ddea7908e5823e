#pragma once

#include <cstddef>
#include <vector>

// Where the panels stand on the screen. Pure.

namespace tarvel::viewer {

struct Box {
  int top = 0;
  int left = 0;
  int height = 0;
  int width = 0;
  bool operator==(const Box&) const = default;
};

struct PanelSize {
  std::size_t panel = 0;  // its index
  bool isList = false;    // a process list, which takes all the space it gets
  int rows = 0;           // what it has to show, without its frame
};

struct PlacedPanel {
  std::size_t panel = 0;
  Box box;
};

struct Layout {
  std::vector<PlacedPanel> placed;
  std::vector<std::size_t> leftOut;  // there was no space for these
  int spare = 0;                     // lines of the area that no panel needs
};

// Lists to the left, sensors to the right, each column shared out by what its panels have to show;
// sensors get what they need, lists the rest. Panels that would get less than a title and two rows
// are left out, those after the focused one first, so that the focused one always stands there.
// Zoomed, the focused one has the area to itself and no other counts as left out.
Layout layOut(const std::vector<PanelSize>& panels, std::size_t focused, Box area, bool isZoomed);

}  // namespace tarvel::viewer
