#pragma once

#include <string>
#include <vector>

#include "viewer/display_rows.h"
#include "viewer/machine/machine_totals.h"

// The machine at a glance, as the lines at the top of the dashboard. Pure.

namespace tarvel::viewer {

inline constexpr int kBarWidth = 12;  // columns

// A piece of a line. A bar is drawn for the share where there is one.
struct MachineText {
  std::string label;  // "CPU", dim
  double share = -1;  // of a bar; -1: none
  std::string text;
  Level level = Level::kNormal;
};

using MachineLine = std::vector<MachineText>;

// Two to four lines for this width: what does not fit is left out, the least important first.
// Levels mark what a person should look at: processors from 90 %, memory from 90 %, pressure from
// 10 %, a battery up to 15 %.
std::vector<MachineLine> machineLines(const MachineTotals& totals, int width);

}  // namespace tarvel::viewer
