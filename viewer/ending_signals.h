#pragma once

#include <chrono>
#include <csignal>

namespace tarvel::viewer {

// The signals that end a viewer, taken by waiting for them, so that everything is put in order.
class EndingSignals {
 public:
  EndingSignals();

  // Sleeps, until a child has ended at the longest; true when a signal has come.
  bool within(std::chrono::milliseconds time) const;

 private:
  sigset_t signals_{};
};

// Whether nobody is left to read a pipe: without anything to write one would never learn it.
bool isOutputClosed();

}  // namespace tarvel::viewer
