#include "programs/tarvel/watch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>

#include <unistd.h>

#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/other_programs.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/snapshot_output.h"
#include "viewer/ending_signals.h"
#include "viewer/machine/machine_reader.h"
#include "viewer/panels.h"
#include "viewer/viewer_session.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kLook = 200ms;         // between two looks at the store
constexpr auto kSettled = 400ms;      // after a whole list: the sensors of its cycle are there
constexpr auto kSnapshotLimit = 10s;  // how long a snapshot waits for its readings
constexpr auto kWholeCycle = 3500ms;  // what has not come this long after the first will not

Snapshot enabledSnapshot(DefaultsStore& store) {
  return readSnapshot(store, enabledReadingKeys(store.get(kPanelsKey)));
}

bool isList(const StoredReading& reading) {
  return std::holds_alternative<std::vector<ProcessRow>>(reading.rows);
}

struct Progress {
  std::size_t fresh = 0;       // readings that are present ones
  std::size_t freshLists = 0;  // process lists among them
};

Progress progressOf(const Snapshot& snapshot) {
  Progress progress;
  for (const auto& reading : snapshot) {
    if (reading.isStale()) continue;
    ++progress.fresh;
    if (isList(reading)) ++progress.freshLists;
  }
  return progress;
}

std::size_t listsAmong(const std::vector<std::string_view>& keys) {
  return static_cast<std::size_t>(std::count_if(keys.begin(), keys.end(), [](auto key) {
    return key == kCPUAppUsageKey || key == kMEMAppUsageKey || key == kEnergyAppUsageKey;
  }));
}

// Waits until every enabled panel has a present reading. Panels without a sensor never get one: a
// cycle takes its sensors before its process lists are ready, so whole lists end the wait as well.
bool waitForReadings(DefaultsStore& store, ViewerSession& session, const EndingSignals& signals) {
  const auto start = Clock::now();
  std::optional<Clock::time_point> first;
  std::optional<Clock::time_point> listed;
  for (auto now = start; now - start < kSnapshotLimit; now = Clock::now()) {
    session.keepHelper(now);
    const auto wanted = enabledReadingKeys(store.get(kPanelsKey));
    const auto progress = progressOf(enabledSnapshot(store));
    if (progress.fresh >= wanted.size()) return true;
    if (!first && progress.fresh > 0) first = now;
    const auto lists = listsAmong(wanted);
    if (!listed && lists > 0 && progress.freshLists == lists) listed = now;
    if (listed && now - *listed >= kSettled) return true;
    if (first && now - *first > kWholeCycle) return true;
    if (signals.within(kLook)) return false;
  }
  return true;
}

int printSnapshot(DefaultsStore& store, ViewerSession& session, const EndingSignals& signals,
                  bool json) {
  MachineReader machine;
  machine.sample(Clock::now(), {});
  if (!waitForReadings(store, session, signals)) return kNothing;
  const auto readings = enabledSnapshot(store);
  if (readings.empty()) {
    throw CommandError(kNothing, "readings", "none yet: is the helper running?");
  }
  const int status =
      printOut(json ? oneLine(everythingOf(readings, machine.sample(Clock::now(), {})))
                    : tablesOf(readings));
  const auto newest = std::min_element(readings.begin(), readings.end(), [](auto& a, auto& b) {
    return a.age.value_or(std::chrono::milliseconds::max()) <
           b.age.value_or(std::chrono::milliseconds::max());
  });
  if (newest->isStale()) {
    throw CommandError(kNothing, "readings", ageText(newest->age) + " old: is the helper running?");
  }
  return status;
}

// One line at the start and one after every change.
int printChanges(DefaultsStore& store, ViewerSession& session, const EndingSignals& signals) {
  MachineReader machine;
  machine.sample(Clock::now(), {});
  std::optional<DefaultsStore::ChangeToken> shown;
  while (!signals.within(kLook)) {
    if (isOutputClosed()) return kNothing;
    session.keepHelper(Clock::now());
    const auto token = store.changeToken();
    if (shown == token) continue;
    shown = token;
    const auto totals = machine.sample(Clock::now(), {});
    const int status = printOut(oneLine(everythingOf(enabledSnapshot(store), totals)));
    if (status != kDone) return status;
  }
  return kDone;
}

}  // namespace

int watch(DefaultsStore& store, const WatchOptions& options) {
  if (!options.once && !options.json && ::isatty(STDOUT_FILENO) == 1) {
    becomeDashboard(options.noHelper);
  }
  const EndingSignals signals;
  ViewerSession session(kViewerIdentifier, store, !options.noHelper);
  if (!session.canStartHelper()) {
    std::fputs("tarvel: helper: not found beside this program\n", stderr);
  }
  if (!options.once && options.json) return printChanges(store, session, signals);
  return printSnapshot(store, session, signals, options.json);
}

}  // namespace tarvel::viewer
