#pragma once

#include <string>
#include <vector>

#include "viewer/display_rows.h"
#include "viewer/history.h"

// Values as pictures of text. Scales are fixed, so that a picture of small values looks small; in
// ASCII where the terminal knows no more. Pure.

namespace tarvel::viewer {

// A bar of this many columns, filled to the share.
std::string barText(double share, int width, bool isUnicode);

// One block a share: eighths of a line's height.
std::string blocksText(const std::vector<double>& shares, bool isUnicode);

// The latest values of the series in this many columns, the newest to the right.
std::string sparkline(const Series& series, Scale scale, int width, bool isUnicode);

// The same over several lines, the upper one first: two values a column and four steps a line in
// braille, one value a column in ASCII.
std::vector<std::string> graphLines(const Series& series, Scale scale, int width, int height,
                                    bool isUnicode);

// The scale that is drawn: the given one, or the least and largest of the series.
Scale drawnScale(const Series& series, Scale scale);

}  // namespace tarvel::viewer
