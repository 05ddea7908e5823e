#include "programs/dashboard/terminal_check.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace tarvel::viewer {

bool canPlaceCursor() {
  int status = 0;
  if (setupterm(nullptr, STDOUT_FILENO, &status) != OK) return false;
  return tiparm(tigetstr("cup"), 0, 0) != nullptr;
}

}  // namespace tarvel::viewer
