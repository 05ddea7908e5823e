#pragma once

#include <chrono>
#include <functional>
#include <string_view>

namespace tarvel {

enum class BoundedOutcome {
  finished,
  goesOn,      // the limit has passed; the work ends when it ends
  notStarted,  // no thread could be made
};

// Runs the work on a thread of its own and waits for its end, at most as long as the limit says. A
// driver that hangs cannot be interrupted: work that goes on must own whatever it touches.
BoundedOutcome runBounded(std::string_view name, std::chrono::milliseconds limit,
                          std::function<void()> work);

}  // namespace tarvel
