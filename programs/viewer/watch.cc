#include "programs/viewer/watch.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <sstream>

#include <sys/ioctl.h>
#include <unistd.h>

#include "app/store_keys.h"
#include "platform/host/application_registry.h"
#include "platform/host/defaults_store.h"
#include "programs/viewer/commands.h"
#include "programs/viewer/helper_process.h"
#include "programs/viewer/output.h"
#include "programs/viewer/panels.h"
#include "programs/viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kLook = 200ms;         // between two looks at the store
constexpr auto kSnapshotLimit = 10s;  // how long a snapshot waits for its readings
constexpr auto kWholeCycle =
    3500ms;  // what has not come this long after the first reading will not

// The signals that end a viewer, taken by waiting for them, so that everything is put in order.
class EndingSignals {
 public:
  EndingSignals() {
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
  }

  // Sleeps; true when a signal has come.
  bool within(std::chrono::milliseconds time) const {
    const timespec limit = {time.count() / 1000, time.count() % 1000 * 1'000'000};
    return sigtimedwait(&signals, nullptr, &limit) > 0;
  }

 private:
  sigset_t signals{};
};

Snapshot enabledSnapshot(DefaultsStore& store) {
  return readSnapshot(store, enabledReadingKeys(store.get(kPanelsKey)));
}

// Waits until every enabled panel has its reading, and until something was written since the start.
// Panels without a sensor never get one: they are not waited for beyond a whole cycle.
bool waitForReadings(DefaultsStore& store, const EndingSignals& signals) {
  const auto start = Clock::now();
  const auto before = store.changeToken();
  std::optional<Clock::time_point> firstChange;
  while (Clock::now() - start < kSnapshotLimit) {
    if (signals.within(kLook)) return false;
    if (!firstChange && store.changeToken() != before) firstChange = Clock::now();
    if (!firstChange) continue;
    const auto wanted = enabledReadingKeys(store.get(kPanelsKey)).size();
    const bool complete = enabledSnapshot(store).size() >= wanted;
    if (complete && Clock::now() - *firstChange > kLook * 2) return true;
    if (Clock::now() - *firstChange > kWholeCycle) return true;
  }
  return true;
}

int printSnapshot(DefaultsStore& store, bool json) {
  const auto snapshot = enabledSnapshot(store);
  if (snapshot.empty()) throw CommandError(kNothing, "readings", "none have come");
  return printOut(json ? oneLine(jsonOf(snapshot, iconDirectory())) : tablesOf(snapshot));
}

// The tables cut to the terminal, over what stood there.
int paint(const Snapshot& snapshot) {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0) size.ws_row = 24;
  std::istringstream lines(tablesOf(snapshot));
  std::string screen = "\033[H";
  std::string line;
  for (int row = 1; row < size.ws_row && std::getline(lines, line); ++row) {
    screen += line + "\033[K\n";
  }
  return printOut(screen + "\033[J");
}

int showLive(DefaultsStore& store, bool json, const EndingSignals& signals) {
  if (!json) printOut("\033[H\033[2J");
  std::optional<DefaultsStore::ChangeToken> shown;
  do {
    const auto token = store.changeToken();
    if (shown == token) continue;
    shown = token;
    const auto snapshot = enabledSnapshot(store);
    const int status =
        json ? printOut(oneLine(jsonOf(snapshot, iconDirectory()))) : paint(snapshot);
    if (status != kDone) return status;
  } while (!signals.within(kLook));
  return kDone;
}

void enablePanels(DefaultsStore& store) {
  store.change(kPanelsKey, [](const std::optional<PropertyList>& panels) {
    return panels ? std::nullopt : std::optional(allPanelsEnabled());
  });
}

}  // namespace

int watch(DefaultsStore& store, const WatchOptions& options) {
  const EndingSignals signals;
  const ApplicationRegistry registration(kViewerIdentifier);
  enablePanels(store);
  HelperProcess helper;
  if (!options.noHelper && registration.running(kHelperIdentifier).empty() && !helper.start()) {
    std::fputs("tarvel: helper: not found beside this program\n", stderr);
  }
  const bool live = !options.once && (options.json || isatty(STDOUT_FILENO) == 1);
  if (live) return showLive(store, options.json, signals);
  return waitForReadings(store, signals) ? printSnapshot(store, options.json) : kNothing;
}

}  // namespace tarvel::viewer
