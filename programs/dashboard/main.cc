#include <array>
#include <chrono>
#include <csignal>

#include <curses.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/store/defaults_store.h"
#include "platform/system_log.h"
#include "product/identifiers.h"
#include "programs/dashboard/controller.h"
#include "programs/dashboard/exit_status.h"
#include "programs/dashboard/painter.h"
#include "programs/dashboard/screen.h"
#include "viewer/model.h"

// tarvel-dashboard: the live dashboard on a terminal. Started by `tarvel watch`, which registers
// the viewer, starts the helper and, should this end badly, puts the terminal in order.

namespace {

using namespace tarvel;
using namespace tarvel::viewer;
using namespace std::chrono_literals;

constexpr auto kLook = 500ms;  // between two looks at the store

// The picture must not be written over; who wants the log of a command runs `tarvel doctor`.
class NoLog : public SystemLog {
 public:
  void NSLog(std::string_view) override {}
};

FileDescriptor signalsOf(std::initializer_list<int> signals) {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int signal : signals) ::sigaddset(&set, signal);
  ::sigprocmask(SIG_BLOCK, &set, nullptr);
  return FileDescriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

// Curses learns of the new size from its own handler of SIGWINCH, which also ends the wait.
bool waitForInput(const FileDescriptor& signals) {
  std::array<pollfd, 2> sources = {{{STDIN_FILENO, POLLIN, 0}, {signals.get(), POLLIN, 0}}};
  ::poll(sources.data(), sources.size(), static_cast<int>(kLook.count()));
  const bool hungUp = (sources[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
  return sources[1].revents == 0 && !hungUp;
}

int show(Screen& screen, const FileDescriptor& signals) {
  NoLog log;
  DefaultsStore store(kSuiteName, log);
  const ApplicationRegistry registry;
  Model model(store, registry);
  Controller controller(model, screen);
  bool pressed = true;
  bool wasStale = false;
  do {
    const auto now = Model::Clock::now();
    const bool changed = model.refresh(now);
    const bool stale = model.staleFor(now).has_value();
    if (changed || pressed || stale || wasStale) {
      controller.placed(paint(screen, model, controller.cursor(), now));
    }
    wasStale = stale;
    if (!waitForInput(signals)) return 0;
    pressed = false;
    for (int key = screen.key(); key != ERR; key = screen.key()) {
      pressed = true;
      if (!controller.press(key)) return 0;
    }
  } while (true);
}

}  // namespace

int main() {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  const FileDescriptor signals = signalsOf({SIGINT, SIGTERM, SIGHUP});
  Screen screen;
  return screen.isReady() ? show(screen, signals) : kUnfitTerminal;
}
