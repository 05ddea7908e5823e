#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "platform/host/store/defaults_store.h"
#include "product/store_keys.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/snapshot_output.h"
#include "settings/viewer_settings.h"
#include "viewer/machine/machine_reader.h"
#include "viewer/viewer_flag.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kFirstInterval = 100ms;  // of the machine's rates

std::vector<std::string_view> knownReadings(const std::vector<std::string>& names) {
  const auto known = readingKeys();
  if (names.empty()) return known;
  std::vector<std::string_view> keys;
  for (const auto& name : names) {
    const auto key = std::find(known.begin(), known.end(), name);
    if (key == known.end()) throw CommandError(kUsage, name, "no such reading");
    keys.push_back(*key);
  }
  return keys;
}

}  // namespace

int showReadings(DefaultsStore& store, const std::vector<std::string>& keys, bool json) {
  const auto snapshot = readSnapshot(store, knownReadings(keys));
  if (snapshot.empty()) throw CommandError(kNothing, "readings", "none in the store");
  if (!json) return printOut(tablesOf(snapshot));
  if (!keys.empty()) return printOut(oneLine(jsonOf(snapshot, iconDirectory())));
  MachineReader machine;
  machine.sample(MachineReader::Clock::now(), {});
  std::this_thread::sleep_for(kFirstInterval);
  return printOut(oneLine(everythingOf(snapshot, machine.sample(MachineReader::Clock::now(), {}))));
}

int setFlag(DefaultsStore& store, const std::string& key, const std::string& sensor,
            const std::string& value) {
  knownReadings({key});
  if (!setViewerFlag(store, key, sensor, 0, value)) {
    throw CommandError(kNothing, sensor, "no such sensor under " + key);
  }
  return kDone;
}

int setAlias(const std::string& key, const std::string& sensor, const std::string& name) {
  knownReadings({key});
  const std::string path = settingsPath();
  auto [settings, fault] = loadSettings(path);
  if (fault) throw CommandError(kNothing, "settings", *fault);
  if (name.empty()) {
    settings.choices.aliases.erase({key, sensor});
  } else {
    settings.choices.aliases[{key, sensor}] = name;
  }
  if (!saveSettings(settings, path)) throw CommandError(kNothing, path, "cannot be written");
  return kDone;
}

}  // namespace tarvel::viewer
