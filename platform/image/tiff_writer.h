#pragma once

#include "platform/image/raster.h"
#include "platform/property_list.h"

namespace tarvel {

// The picture as a TIFF file: one page, 8-bit RGB with associated alpha, deflated. The resolution
// says how many points wide it is shown (72 pixels an inch where both widths are equal). Empty on
// failure.
Data tiffData(const Raster& raster, double widthInPoints);

}  // namespace tarvel
