#pragma once

#include <string>

#include "viewer/history.h"

namespace tarvel::viewer {

// The latest values of the series in this many columns, the newest to the right. Scaled from the
// least to the largest value ever, and flat where they are one.
std::string sparkline(const Series& series, int width, bool unicode);

}  // namespace tarvel::viewer
