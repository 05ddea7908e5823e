#pragma once

#include <string_view>

#include "viewer/machine/machine_totals.h"

namespace tarvel::viewer {

// The share of the last ten seconds, in percent, in which some task waited, from a file of
// /proc/pressure; 0 where the text tells none.
double somePressure(std::string_view text);

// The text of /proc/loadavg.
Load loadOf(std::string_view loadavg);

}  // namespace tarvel::viewer
