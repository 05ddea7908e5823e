#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "viewer/snapshot.h"

// The readings as one line of a status bar: the busiest process, the hottest temperature, the
// fastest fan and the power of the whole system, as far as they are there. Sensors that were hidden
// do not count. Pure.

namespace tarvel::viewer {

enum class LineFormat {
  plain,
  tmux,     // "#" doubled, what is hot in red
  waybar,   // an object of "text", "tooltip" and "class", the texts escaped for Pango
  i3blocks  // an object of "full_text", "short_text" and, when hot, "color"
};

// "plain", "tmux", "waybar" or "i3blocks".
std::optional<LineFormat> lineFormatNamed(std::string_view name);

// Without a line break at its end; none where no reading is there.
std::optional<std::string> widgetLine(const Snapshot& snapshot, LineFormat format);

}  // namespace tarvel::viewer
