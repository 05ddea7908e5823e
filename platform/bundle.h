#pragma once

#include <string>

// The application bundle that the calling process belongs to. Callable from any thread.

namespace tarvel {

class Bundle {
 public:
  virtual ~Bundle() = default;

  virtual std::string bundleIdentifier() = 0;

  // The absolute path of the bundle's folder.
  virtual std::string bundlePath() = 0;
};

}  // namespace tarvel
