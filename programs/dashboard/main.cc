#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <string_view>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/resident_code.h"
#include "platform/host/store/defaults_store.h"
#include "platform/system_log.h"
#include "product/identifiers.h"
#include "programs/dashboard/controller.h"
#include "programs/dashboard/painter.h"
#include "programs/dashboard/screen.h"
#include "programs/dashboard/terminal_guard.h"
#include "settings/viewer_settings.h"
#include "viewer/model.h"
#include "viewer/viewer_session.h"

// tarvel-dashboard [--no-helper]: the live dashboard on a terminal, what `tarvel` becomes there.

namespace {

using namespace tarvel;
using namespace tarvel::viewer;
using namespace std::chrono_literals;

// How long it takes at least from one look at the store, and from one picture, to the next.
struct Pace {
  std::chrono::milliseconds looks;
  std::chrono::milliseconds pictures;
};

// The lists of a cycle come one after the other: a picture of them all is cheaper than one each.
constexpr Pace kUsual = {400ms, 700ms};

// The helper's first lists come within the first second, and somebody waits for them.
constexpr Pace kFirstSecond = {50ms, 50ms};
constexpr auto kStart = 1s;

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

// Takes a signal that has come; false when it ends the dashboard.
bool takeSignal(Screen& screen, const FileDescriptor& signals) {
  signalfd_siginfo info{};
  if (::read(signals.get(), &info, sizeof info) != sizeof info) return true;
  if (info.ssi_signo != SIGTSTP) return false;
  screen.suspend();
  return true;
}

// A terminal that has got another size ends the wait as well.
bool waitForInput(Screen& screen, const FileDescriptor& signals,
                  std::chrono::milliseconds longest) {
  std::array<pollfd, 2> sources = {{{STDIN_FILENO, POLLIN, 0}, {signals.get(), POLLIN, 0}}};
  ::poll(sources.data(), sources.size(), static_cast<int>(longest.count()));
  const bool hungUp = (sources[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
  return !hungUp && (sources[1].revents == 0 || takeSignal(screen, signals));
}

bool takeKeys(Screen& screen, Controller& controller, bool& pressed) {
  pressed = false;
  while (const auto key = screen.key()) {
    pressed = true;
    if (!controller.press(*key)) return false;
  }
  return true;
}

// Shows the model until a key or a signal ends it.
void run(Screen& screen, Model& model, Controller& controller, const FileDescriptor& signals) {
  bool pressed = true;
  bool isDue = false;
  const auto begin = Model::Clock::now();
  Model::Clock::time_point painted;
  Pace pace = kFirstSecond;
  bool isStarting = true;
  do {
    const auto now = Model::Clock::now();
    if (isStarting && now - begin >= kStart) {
      isStarting = false;
      pace = kUsual;
      releaseResidentCode();
    }
    isDue = model.refresh(now) || isDue;
    if (!pressed && (!isDue || now - painted < pace.pictures)) continue;
    controller.painted(paint(screen, model, controller.cursor()));
    painted = now;
    isDue = false;
  } while (waitForInput(screen, signals, pace.looks) && takeKeys(screen, controller, pressed));
}

void show(Screen& screen, const FileDescriptor& signals, bool startsHelper) {
  NoLog log;
  DefaultsStore store(kSuiteName, log);
  ViewerSession session(kViewerIdentifier, store, startsHelper);
  const std::string path = settingsPath();
  auto [settings, fault] = loadSettings(path);
  screen.setTheme(themeNamed(settings.theme));
  Model model(store, session);
  model.choices = settings.choices;
  model.interval = settings.interval;
  Cursor start;
  start.showsColumns = settings.showsColumns;
  if (fault) start.message = "settings ignored: " + *fault;
  if (!session.canStartHelper()) start.message = "the helper is not beside this program";
  Controller controller(model, screen, std::move(start));
  run(screen, model, controller, signals);
  if (fault) return;  // a file that its owner may want to mend is left as it is
  // Names may have been given meanwhile, by `tarvel alias`.
  settings.choices = model.choices;
  settings.choices.aliases = loadSettings(path).settings.choices.aliases;
  settings.interval = model.interval;
  settings.theme = screen.theme().name;
  settings.showsColumns = controller.cursor().showsColumns;
  saveSettings(settings, path);
}

// A terminal that cannot place its cursor gets a snapshot.
int printSnapshot() {
  std::array<char, 4096> own{};
  const auto size = ::readlink("/proc/self/exe", own.data(), own.size() - 1);
  std::string path(own.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  path = path.substr(0, path.rfind("/lib/")) + "/bin/tarvel";
  ::execl(path.c_str(), "tarvel", "watch", "--once", nullptr);
  std::fprintf(stderr, "tarvel: dashboard: this terminal cannot show it\n");
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  const bool startsHelper = argc < 2 || std::string_view(argv[1]) != "--no-helper";
  goOnGuarded();
  const FileDescriptor signals = signalsOf({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP});
  std::signal(SIGPIPE, SIG_IGN);
  {
    Screen screen;
    if (screen.isReady()) {
      show(screen, signals, startsHelper);
      return 0;
    }
  }
  return printSnapshot();
}
