#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/image/raster.h"

namespace tarvel {

// What draws SVG files: a library beside the program, loaded because it needs librsvg, and that may
// be missing. Made before the program confines itself, which closes all files to it.
class SVGLibrary {
 public:
  SVGLibrary();
  ~SVGLibrary();
  SVGLibrary(const SVGLibrary&) = delete;
  SVGLibrary& operator=(const SVGLibrary&) = delete;

  // The file drawn to fit a square of this side in pixels, centred. Nothing outside the file is
  // read. None where it is broken, and without the library.
  std::optional<Raster> draw(std::string_view file, std::uint32_t side) const;

 private:
  void* handle_;
};

}  // namespace tarvel
