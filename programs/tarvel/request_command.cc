#include <array>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <utility>

#include <unistd.h>

#include "platform/host/presence/application_registry.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "programs/tarvel/commands.h"
#include "viewer/ending_signals.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kLook = 200ms;
constexpr auto kUntilSeen = 7s;      // two cycles, and a second for the first of them to end
constexpr auto kUntilRemoved = 90s;  // for somebody to give a password

bool isOnTerminal() { return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1; }

bool isConfirmedOnTerminal() {
  std::fputs("Remove the helper and its bundle from this machine? [y/N] ", stdout);
  std::fflush(stdout);
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

template <typename Condition>
bool happensWithin(std::chrono::seconds limit, const EndingSignals& signals, Condition happened) {
  const auto end = Clock::now() + limit;
  while (!happened()) {
    if (Clock::now() >= end || signals.within(kLook)) return false;
  }
  return true;
}

int tell(const char* text, int status) {
  std::puts(text);
  return status;
}

// Runs as a viewer meanwhile: without one the helper looks at no request.
int tellOutcome(DefaultsStore& store, std::string_view key) {
  if (key == kClearSensorsKey) {
    return tell("The helper forgets its sensors when it starts next.", kDone);
  }
  const EndingSignals signals;
  const ApplicationRegistry registry(kViewerIdentifier);
  const auto isHelperRunning = [&] { return !registry.running(kHelperIdentifier).empty(); };
  if (!isHelperRunning()) {
    return tell("No helper is running. It will act on this when it starts.", kDone);
  }
  if (!happensWithin(kUntilSeen, signals, [&] { return !store.get(key); })) {
    return tell("The helper has not answered yet.", kNothing);
  }
  if (key == kCheckHelperUpdatesKey) {
    return tell("The helper is checking for updates. A notification will tell the outcome.", kDone);
  }
  std::puts("Waiting for the removal. You may be asked for a password.");
  const bool isGone = happensWithin(kUntilRemoved, signals, [&] { return !isHelperRunning(); });
  return isGone ? tell("The helper has been removed.", kDone)
                : tell("The helper is still running: the removal was refused.", kNothing);
}

}  // namespace

int requestAction(DefaultsStore& store, const std::string& action, bool isConfirmed) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kRequests = {
      {{"updates", kCheckHelperUpdatesKey},
       {"uninstall", kUninstallHelperKey},
       {"clear-sensors", kClearSensorsKey}}};
  for (const auto& [name, key] : kRequests) {
    if (action != name) continue;
    const bool asks = key == kUninstallHelperKey && !isConfirmed && isOnTerminal();
    if (asks && !isConfirmedOnTerminal()) return tell("Nothing was removed.", kNothing);
    if (!store.set(key, true)) throw CommandError(kNothing, action, "the store takes no writes");
    return isOnTerminal() ? tellOutcome(store, key) : kDone;
  }
  throw CommandError(kUsage, action, "no such request");
}

}  // namespace tarvel::viewer
