#pragma once

#include <optional>
#include <string_view>

#include "viewer/machine/machine_totals.h"

namespace tarvel::viewer {

// The text of /proc/meminfo; none where it tells no total.
std::optional<Memory> memoryOf(std::string_view meminfo);

}  // namespace tarvel::viewer
