#pragma once

#include <optional>
#include <string_view>

#include "platform/image/raster.h"

namespace tarvel {

// The picture of an XPM 3 file whose colours are #RGB, #RRGGBB, #RRRRGGGGBBBB or None; other colour
// names are drawn black. None where the file is broken or larger than an icon may be.
std::optional<Raster> readXPM(std::string_view file);

}  // namespace tarvel
