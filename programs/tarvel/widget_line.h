#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "viewer/machine/machine_totals.h"
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

struct LineOptions {
  LineFormat format = LineFormat::plain;
  std::string text;  // a template of the user's own; empty: the line above
};

// Without a line break at its end; none where there is nothing to show. A line over old readings
// says so: "(stale)" behind the text, in waybar as the class. Waybar's percentage is the load of
// the processors, its class one of "normal", "warm", "hot" and "stale".
std::optional<std::string> widgetLine(const Snapshot& snapshot, const MachineTotals& totals,
                                      const LineOptions& options);

}  // namespace tarvel::viewer
