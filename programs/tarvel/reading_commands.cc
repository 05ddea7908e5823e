#include <algorithm>
#include <utility>

#include "platform/host/store/defaults_store.h"
#include "product/store_keys.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/snapshot_output.h"
#include "viewer/viewer_flag.h"

namespace tarvel::viewer {
namespace {

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
  return printOut(json ? oneLine(jsonOf(snapshot, iconDirectory())) : tablesOf(snapshot));
}

int setFlag(DefaultsStore& store, const std::string& key, const std::string& sensor,
            const std::string& value) {
  knownReadings({key});
  if (!setViewerFlag(store, key, sensor, value)) {
    throw CommandError(kNothing, sensor, "no such sensor under " + key);
  }
  return kDone;
}

int requestAction(DefaultsStore& store, const std::string& action) {
  const std::pair<std::string_view, std::string_view> requests[] = {
      {"updates", kCheckHelperUpdatesKey},
      {"uninstall", kUninstallHelperKey},
      {"clear-sensors", kClearSensorsKey}};
  for (const auto& [name, key] : requests) {
    if (action != name) continue;
    if (!store.set(key, true)) throw CommandError(kNothing, action, "the store takes no writes");
    return kDone;
  }
  throw CommandError(kUsage, action, "no such request");
}

}  // namespace tarvel::viewer
