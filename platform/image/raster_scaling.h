#pragma once

#include "platform/image/raster.h"

namespace tarvel {

// The picture at this width, its height in proportion; each pixel the mean of those it covers. A
// picture that is no wider stays as it is.
Raster scaledDown(Raster raster, std::uint32_t width);

}  // namespace tarvel
