#pragma once

#include <optional>

#include <termios.h>

namespace tarvel::viewer {

// Lets the terminal hand over keys at once and not show them, for as long as this lives. Keys that
// send signals (^C, ^Z) still do.
class TerminalMode {
 public:
  TerminalMode();
  ~TerminalMode();
  TerminalMode(const TerminalMode&) = delete;
  TerminalMode& operator=(const TerminalMode&) = delete;

 private:
  std::optional<termios> before_;
};

}  // namespace tarvel::viewer
