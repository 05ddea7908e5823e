#include "programs/dashboard/terminal/terminal_mode.h"

#include <unistd.h>

namespace tarvel::viewer {

TerminalMode::TerminalMode() {
  termios settings{};
  if (::tcgetattr(STDIN_FILENO, &settings) != 0) return;
  before_ = settings;
  settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  ::tcsetattr(STDIN_FILENO, TCSADRAIN, &settings);
}

TerminalMode::~TerminalMode() {
  if (before_) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &*before_);
}

}  // namespace tarvel::viewer
