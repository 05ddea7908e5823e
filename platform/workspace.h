#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/property_list.h"

// The desktop's applications and their icons. Callable from any thread.

namespace tarvel {

// One drawing of an icon, at a size of its own.
struct IconRepresentation {
  double width = 0;              // points
  double height = 0;             // points
  std::uint32_t pixelsWide = 0;  // 0: the drawing's own
  std::string file;              // where the backend finds the drawing
};

struct Icon {
  std::vector<IconRepresentation> representations;  // in the icon's order
  std::string wholeFile;                            // the icon as one drawing
};

class Workspace {
 public:
  using ProcessSerialNumber = std::uint64_t;

  virtual ~Workspace() = default;

  // The serial number of the application process with this id; none when it is no application.
  virtual std::optional<ProcessSerialNumber> GetProcessForPID(std::int32_t pid) = 0;

  // The path of the bundle that the application process runs from.
  virtual std::optional<std::string> GetProcessBundleLocation(ProcessSerialNumber process) = 0;

  virtual std::optional<std::string> bundleIdentifier(const std::string& bundlePath) = 0;

  virtual Icon iconForFile(const std::string& bundlePath) = 0;

  // TIFF data of an image that holds one representation of the icon alone, at its size, or of the
  // whole icon. Empty when nothing can be drawn.
  virtual Data TIFFRepresentation(const Icon& icon, std::size_t representation) = 0;
  virtual Data TIFFRepresentation(const Icon& icon) = 0;
};

}  // namespace tarvel
