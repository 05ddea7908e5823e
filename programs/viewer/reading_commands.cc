#include <algorithm>
#include <utility>

#include "app/store_keys.h"
#include "platform/host/defaults_store.h"
#include "platform/host/keyed_archive.h"
#include "programs/viewer/commands.h"
#include "programs/viewer/output.h"
#include "programs/viewer/snapshot.h"

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

// The place of the viewer flag in a stored record; null where the record is of another form.
std::string* flagIn(Array& record) {
  if (record.size() == 3) return record[2].as<std::string>();
  auto* values = record.size() == 2 ? record[1].as<Array>() : nullptr;
  return values != nullptr && values->size() == 4 ? (*values)[3].as<std::string>() : nullptr;
}

// The archive with the flag of the first record of that name set; none where no record has it.
std::optional<PropertyList> withFlag(const std::optional<PropertyList>& stored,
                                     const std::string& sensor, const std::string& value) {
  const auto archiver = makeKeyedArchiver();
  const auto* data = stored ? stored->as<Data>() : nullptr;
  auto records = data != nullptr ? archiver->unarchiveObjectWithData(*data) : std::nullopt;
  if (!records) return std::nullopt;
  for (auto& object : *records) {
    auto* record = object.as<Array>();
    const auto* name =
        record != nullptr && !record->empty() ? (*record)[0].as<std::string>() : nullptr;
    if (name == nullptr || *name != sensor) continue;
    std::string* flag = flagIn(*record);
    if (flag == nullptr) return std::nullopt;
    *flag = value;
    return archiver->archivedDataWithRootObject(*records);
  }
  return std::nullopt;
}

}  // namespace

int showReadings(DefaultsStore& store, const std::vector<std::string>& keys, bool json) {
  const auto snapshot = readSnapshot(store, knownReadings(keys));
  if (snapshot.empty()) throw CommandError(kNothing, "readings", "none in the store");
  return printOut(json ? oneLine(jsonOf(snapshot, iconDirectory())) : tablesOf(snapshot));
}

int setViewerFlag(DefaultsStore& store, const std::string& key, const std::string& sensor,
                  const std::string& value) {
  knownReadings({key});
  const bool stored = store.change(key, [&](const std::optional<PropertyList>& before) {
    return withFlag(before, sensor, value);
  });
  if (!stored) throw CommandError(kNothing, sensor, "no such sensor under " + key);
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
