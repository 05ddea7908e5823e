#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
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

// Work of which each piece may hang for good, so that it is counted and not begun twice. Callable
// from any thread; what still goes on may outlive this.
class BoundedLooks {
 public:
  // A thread is named for what it does. `most` pieces may be left going on.
  BoundedLooks(std::string_view name, std::chrono::milliseconds limit, std::size_t most);

  // As runBounded; `goesOn` at once where the last piece of this key still does, `notStarted` where
  // too many do.
  BoundedOutcome run(const std::string& key, std::function<void()> work);

 private:
  struct Going;

  const std::string name_;
  const std::chrono::milliseconds limit_;
  const std::size_t most_;
  std::shared_ptr<Going> going_;
};

}  // namespace tarvel
