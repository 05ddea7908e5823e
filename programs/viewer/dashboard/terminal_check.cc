#include "programs/viewer/dashboard/terminal_check.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace tarvel::viewer {

bool canPlaceCursor() {
  int status = 0;
  if (setupterm(nullptr, STDOUT_FILENO, &status) != OK) return false;
  const char* place = tigetstr("cup");
  return place != nullptr && place != reinterpret_cast<const char*>(-1);
}

}  // namespace tarvel::viewer
