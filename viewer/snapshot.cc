#include "viewer/snapshot.h"

#include "platform/host/container/group_container.h"
#include "platform/host/store/defaults_store.h"
#include "platform/host/store/reading_times.h"
#include "product/identifiers.h"
#include "product/store_keys.h"

namespace tarvel::viewer {
namespace {

std::size_t placeOf(std::string_view readingKey) {
  std::size_t place = 0;
  while (place + 1 < kPanelTable.size() && kPanelTable[place].readingKey != readingKey) ++place;
  return place;
}

}  // namespace

std::vector<std::string_view> readingKeys() {
  std::vector<std::string_view> keys;
  for (const auto& panel : kPanelTable) keys.push_back(panel.readingKey);
  return keys;
}

Snapshot readSnapshot(DefaultsStore& store, const std::vector<std::string_view>& keys) {
  const auto ages = ReadingTimes(kSuiteName).ages();
  Snapshot snapshot;
  for (const auto key : keys) {
    const auto value = store.get(key);
    if (!value) continue;
    if (auto reading = decodeReading(key, *value)) {
      snapshot.push_back({key, *std::move(reading), ages[placeOf(key)]});
    }
  }
  return snapshot;
}

std::string iconDirectory() {
  const auto container = groupContainer(kSuiteName);
  return container ? *container + std::string(kIconDirectory) : std::string();
}

std::string_view unitOf(std::string_view readingKey) {
  if (readingKey == kFanSpeedValuesKey) return "RPM";
  if (readingKey == kTempValuesKey) return "°C";
  if (readingKey == kVoltageValuesKey) return "V";
  if (readingKey == kPowerValuesKey) return "W";
  if (readingKey == kCurrentValuesKey) return "A";
  return {};
}

}  // namespace tarvel::viewer
