#include <algorithm>
#include <optional>

#include "app/app_delegate.h"
#include "platform/keyed_archiver.h"
#include "product/store_keys.h"

namespace tarvel {
namespace {

constexpr const char* kNewFlag = "1";
constexpr std::size_t kFanFlag = 3;

// A record is [name, fan values] for fans and [name, reading, viewer flag] for the other kinds.
bool isFan(const Array& record) { return record.size() == 2 && record[1].as<Array>() != nullptr; }

bool areTexts(const Array& values) {
  return std::all_of(values.begin(), values.end(),
                     [](const auto& value) { return value.template as<std::string>() != nullptr; });
}

bool isPublished(const PropertyList& object, bool fans) {
  const auto* record = object.as<Array>();
  if (record == nullptr) return false;
  if (!fans) return record->size() == 3 && areTexts(*record);
  return isFan(*record) && (*record)[0].as<std::string>() != nullptr &&
         (*record)[1].as<Array>()->size() == kFanFlag + 1 && areTexts(*(*record)[1].as<Array>());
}

const Array& recordOf(const PropertyList& object) { return *object.as<Array>(); }
const std::string& nameOf(const PropertyList& object) {
  return *recordOf(object)[0].as<std::string>();
}

PropertyList flagOf(const PropertyList& object) {
  const Array& record = recordOf(object);
  return isFan(record) ? (*record[1].as<Array>())[kFanFlag] : record[2];
}

// The published form of a fresh record, with this viewer flag.
Array published(const PropertyList& fresh, PropertyList flag) {
  Array record = recordOf(fresh);
  if (isFan(record)) {
    (*record[1].as<Array>())[kFanFlag] = std::move(flag);
  } else {
    record.push_back(std::move(flag));
  }
  return record;
}

Array rewritten(const Array& fresh) {
  const PropertyList flag(kNewFlag);
  Array records;
  for (const auto& record : fresh) records.emplace_back(published(record, flag));
  return records;
}

// Every fresh record replaces the first stored one whose name contains its own, and takes over its
// viewer flag; one that finds none is dropped.
Array merged(const Array& fresh, Array stored) {
  for (const auto& record : fresh) {
    const std::string& name = nameOf(record);
    if (name.empty()) continue;
    const auto match = std::find_if(stored.begin(), stored.end(), [&](const auto& candidate) {
      return nameOf(candidate).find(name) != std::string::npos;
    });
    if (match != stored.end()) *match = published(record, flagOf(*match));
  }
  return stored;
}

// The stored records; none where the key is absent or holds anything else.
Array storedRecords(UserDefaults& store, KeyedArchiver& archiver, std::string_view key, bool fans) {
  const auto object = store.objectForKey(key);
  const auto* data = object ? object->as<Data>() : nullptr;
  auto records = data != nullptr ? archiver.unarchiveObjectWithData(*data) : std::nullopt;
  if (!records) return {};
  const bool whole = std::all_of(records->begin(), records->end(),
                                 [&](const auto& record) { return isPublished(record, fans); });
  return whole ? std::move(*records) : Array{};
}

}  // namespace

void AppDelegate::publishSensors(const Array& fresh, std::string_view key) {
  if (fresh.empty()) return;
  Array stored =
      storedRecords(*SharedDefaults, platform_.archiver, key, isFan(recordOf(fresh.front())));
  const Array records =
      stored.size() == fresh.size() ? merged(fresh, std::move(stored)) : rewritten(fresh);
  SharedDefaults->setObject(platform_.archiver.archivedDataWithRootObject(records), key);
}

void AppDelegate::getFanSpeed() {
  smcFanSensors = std::make_unique<SMCFanSensors>(smcSession_);
  publishSensors(smcFanSensors->getFans(), kFanSpeedValuesKey);
}

void AppDelegate::getTemperature() {
  smcTempSensors = std::make_unique<SMCTempSensors>(smcSession_, platform_.ataSmart);
  publishSensors(smcTempSensors->getTemps(), kTempValuesKey);
}

void AppDelegate::getVoltage() {
  smcVoltageSensors = std::make_unique<SMCVoltageSensors>(smcSession_);
  publishSensors(smcVoltageSensors->getVoltages(), kVoltageValuesKey);
}

void AppDelegate::getPower() {
  smcVoltageSensors = std::make_unique<SMCVoltageSensors>(smcSession_);
  publishSensors(smcVoltageSensors->getPower(), kPowerValuesKey);
}

void AppDelegate::getCurrent() {
  smcVoltageSensors = std::make_unique<SMCVoltageSensors>(smcSession_);
  publishSensors(smcVoltageSensors->getCurrent(), kCurrentValuesKey);
}

}  // namespace tarvel
