#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/recorded/machine.h"

// Where a replay stands: the machine of the current cycle, and the trace, one JSON object a line
// for every call that the helper makes: cycle, thread, call, its arguments, its status.

namespace tarvel::recorded {

class Playback {
 public:
  using Arguments = nlohmann::ordered_json;

  explicit Playback(Recording recording) : machines_(std::move(recording)) {}

  // Writes the trace to this file from now on; false when it cannot be made.
  bool openTrace(const std::string& path);

  // Whether all that was traced has been written, where there is a trace.
  bool finishTrace();

  const Machine& machine() const;

  void beginCycle(std::size_t number) { cycle_ = number; }
  void enterThread(std::string name) { thread_ = std::move(name); }

  void trace(std::string_view call, const Arguments& arguments = Arguments::object());
  void trace(std::string_view call, Arguments arguments, std::int64_t status);

 private:
  Recording machines_;
  std::ofstream file_;
  std::size_t cycle_ = 0;  // 0 before the first
  std::string thread_ = "main";
};

}  // namespace tarvel::recorded
