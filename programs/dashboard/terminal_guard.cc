#include "programs/dashboard/terminal_guard.h"

#include <csignal>
#include <optional>
#include <string_view>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace tarvel::viewer {
namespace {

// Leaves the second screen and mouse reports, shows the cursor: what a program that was killed
// could not do itself (xterm control sequences).
void leaveScreen() {
  constexpr std::string_view kLeave = "\033[?1000l\033[?1006l\033[?1049l\033[?25h\033[0m";
  // The terminal may be gone as well: then there is nothing to leave.
  [[maybe_unused]] const auto written = ::write(STDOUT_FILENO, kLeave.data(), kLeave.size());
}

std::optional<termios> terminalSettings() {
  termios settings{};
  return ::tcgetattr(STDIN_FILENO, &settings) == 0 ? std::optional(settings) : std::nullopt;
}

int guard(pid_t child, const sigset_t& signals, const std::optional<termios>& settings) {
  int status = 0;
  while (::waitpid(child, &status, WNOHANG) == 0) {
    const int signal = ::sigwaitinfo(&signals, nullptr);
    if (signal > 0 && signal != SIGCHLD) ::kill(child, SIGTERM);
  }
  if (WIFSIGNALED(status)) leaveScreen();
  if (settings) {
    std::signal(SIGTTOU, SIG_IGN);  // a job in the background may put its terminal in order
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &*settings);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

void goOnGuarded() {
  sigset_t signals;
  sigset_t before;
  ::sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD})
    ::sigaddset(&signals, signal);
  ::sigprocmask(SIG_BLOCK, &signals, &before);
  const auto settings = terminalSettings();  // before the dashboard can change them
  const pid_t guardian = ::getpid();
  const pid_t child = ::fork();
  if (child > 0) ::_exit(guard(child, signals, settings));
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  if (child < 0) return;
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != guardian) ::raise(SIGTERM);
}

}  // namespace tarvel::viewer
