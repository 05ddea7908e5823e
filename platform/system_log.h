#pragma once

#include <string_view>

// The system log. Callable from any thread.

namespace tarvel {

class SystemLog {
 public:
  virtual ~SystemLog() = default;

  virtual void NSLog(std::string_view text) = 0;
};

}  // namespace tarvel
