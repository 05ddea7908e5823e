#pragma once

#include <QColor>
#include <QPalette>
#include <cstddef>

#include "viewer/display_rows.h"

// The few colours that the desktop's palette does not have. Each has one for light and one for dark
// backgrounds, with a contrast of at least 3 against them for graphs and 4.5 for texts
// (WCAG 2.1, 1.4.11 and 1.4.3).

namespace tarvel::viewer {

inline constexpr std::size_t kSeriesColours = 4;

bool isDark(const QPalette& palette);

// Of a graph's line; beyond the last they begin anew.
QColor seriesColour(std::size_t line, const QPalette& palette);

// The text's own for a normal level.
QColor levelColour(Level level, const QPalette& palette);

// Of texts that step back. The palette has a role for that, which desktops may leave unreadable.
QColor faintColour(const QPalette& palette);

}  // namespace tarvel::viewer
