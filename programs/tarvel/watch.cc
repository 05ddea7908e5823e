#include "programs/tarvel/watch.h"

#include <chrono>
#include <cstdio>
#include <optional>

#include <unistd.h>

#include "platform/host/presence/application_registry.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "programs/dashboard/exit_status.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/dashboard_process.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/snapshot_output.h"
#include "viewer/ending_signals.h"
#include "viewer/helper_process.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kLook = 200ms;         // between two looks at the store
constexpr auto kLongWait = 1h;        // for the dashboard's end, which ends the wait as well
constexpr auto kSnapshotLimit = 10s;  // how long a snapshot waits for its readings
constexpr auto kWholeCycle =
    3500ms;  // what has not come this long after the first reading will not

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

int snapshot(DefaultsStore& store, const EndingSignals& signals, bool json) {
  if (!waitForReadings(store, signals)) return kNothing;
  const auto readings = enabledSnapshot(store);
  if (readings.empty()) throw CommandError(kNothing, "readings", "none have come");
  return printOut(json ? oneLine(jsonOf(readings, iconDirectory())) : tablesOf(readings));
}

// One line at the start and one after every change.
int printChanges(DefaultsStore& store, const EndingSignals& signals) {
  std::optional<DefaultsStore::ChangeToken> shown;
  do {
    if (isOutputClosed()) return kNothing;
    const auto token = store.changeToken();
    if (shown == token) continue;
    shown = token;
    const int status = printOut(oneLine(jsonOf(enabledSnapshot(store), iconDirectory())));
    if (status != kDone) return status;
  } while (!signals.within(kLook));
  return kDone;
}

// A terminal that cannot show it gets a snapshot.
int showDashboard(DefaultsStore& store, const EndingSignals& signals) {
  const int status = runDashboard([&] { return signals.within(kLongWait); });
  if (status < 0) throw CommandError(kNothing, "dashboard", "not found beside this program");
  return status == kUnfitTerminal ? snapshot(store, signals, false) : status;
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
  if (!options.once && options.json) return printChanges(store, signals);
  if (!options.once && ::isatty(STDOUT_FILENO) == 1) return showDashboard(store, signals);
  return snapshot(store, signals, options.json);
}

}  // namespace tarvel::viewer
