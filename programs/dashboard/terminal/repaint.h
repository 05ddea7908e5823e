#pragma once

#include <span>
#include <string>

#include "programs/dashboard/terminal/cell_buffer.h"
#include "programs/dashboard/terminal/terminal_codes.h"

namespace tarvel::viewer {

// What to write to a terminal that shows one picture, its text plain, so that it shows another of
// the same size: only the cells that differ. `styles` has the codes of each style of the cells; the
// terminal's text is plain again at the end, its cursor anywhere. Pure.
std::string repaint(const CellBuffer& shown, const CellBuffer& next, const TerminalCodes& codes,
                    std::span<const std::string> styles);

}  // namespace tarvel::viewer
