#include "programs/tarvel/dashboard_process.h"

#include <csignal>
#include <cstdio>

#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "platform/host/processes/child_process.h"
#include "viewer/installed_programs.h"

namespace tarvel::viewer {
namespace {

// The terminal's settings, put back at the end of its life.
class TerminalSettings {
 public:
  TerminalSettings() : known_(::tcgetattr(STDIN_FILENO, &settings_) == 0) {}
  ~TerminalSettings() {
    if (known_) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &settings_);
  }
  TerminalSettings(const TerminalSettings&) = delete;
  TerminalSettings& operator=(const TerminalSettings&) = delete;

 private:
  termios settings_{};
  bool known_;
};

// Leaves the second screen and mouse reports, shows the cursor: what a program that was killed
// could not do itself (xterm control sequences).
void leaveScreen() {
  std::fputs("\033[?1000l\033[?1006l\033[?1049l\033[?25h\033[0m", stdout);
  std::fflush(stdout);
}

}  // namespace

int runDashboard(const std::function<bool()>& ended) {
  const auto program = installedProgram("tarvel-dashboard");
  if (!program) return -1;
  const TerminalSettings settings;
  const auto child = spawnProgram(*program, {});
  if (!child) return -1;
  int status = 0;
  while (::waitpid(*child, &status, WNOHANG) == 0) {
    if (ended()) ::kill(*child, SIGTERM);
  }
  if (WIFSIGNALED(status)) leaveScreen();
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace tarvel::viewer
