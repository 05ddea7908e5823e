#include "programs/dashboard/terminal_guard.h"

#include <csignal>
#include <optional>
#include <string_view>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "platform/host/resident_code.h"

namespace tarvel::viewer {
namespace {

// Leaves the second screen, mouse reports and the keys' application mode, shows the cursor: what a
// program that was killed could not do itself (xterm control sequences).
void leaveScreen() {
  constexpr std::string_view kLeave =
      "\033[?1000l\033[?1006l\033[?1l\033>\033[?1049l\033[?25h\033[0m";
  // The terminal may be gone as well: then there is nothing to leave.
  [[maybe_unused]] const auto written = ::write(STDOUT_FILENO, kLeave.data(), kLeave.size());
}

std::optional<termios> terminalSettings() {
  termios settings{};
  return ::tcgetattr(STDIN_FILENO, &settings) == 0 ? std::optional(settings) : std::nullopt;
}

// Where the child stopped as ^Z asks, the guard stops after it, since a shell takes its terminal
// back once the guard has stopped.
void stopLike(pid_t child, int status) {
  if (WSTOPSIG(status) != SIGTSTP) return;
  ::raise(SIGSTOP);
  ::kill(child, SIGCONT);
}

void passOn(int signal, pid_t child) {
  if (signal <= 0 || signal == SIGCHLD) return;
  ::kill(child, signal == SIGTSTP ? SIGTSTP : SIGTERM);
}

int guard(pid_t child, const sigset_t& signals, const std::optional<termios>& settings) {
  int status = 0;
  for (;;) {
    const pid_t changed = ::waitpid(child, &status, WNOHANG | WUNTRACED);
    if (changed == 0) {
      passOn(::sigwaitinfo(&signals, nullptr), child);
    } else if (WIFSTOPPED(status)) {
      stopLike(child, status);
    } else {
      break;
    }
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
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCHLD})
    ::sigaddset(&signals, signal);
  ::sigprocmask(SIG_BLOCK, &signals, &before);
  const auto settings = terminalSettings();  // before the dashboard can change them
  const pid_t guardian = ::getpid();
  const pid_t child = ::fork();
  if (child > 0) {
    releaseResidentCode();
    ::_exit(guard(child, signals, settings));
  }
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  if (child < 0) return;
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != guardian) ::raise(SIGTERM);
}

}  // namespace tarvel::viewer
