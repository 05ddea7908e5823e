#include <algorithm>
#include <optional>

#include "app/app_delegate.h"
#include "platform/keyed_archiver.h"
#include "product/store_keys.h"

namespace tarvel {

enum class RecordForm {
  reading,  // [name, reading, viewer flag], published from [name, reading]
  fan,      // [name, [current, minimum, maximum, viewer flag]]
};

namespace {

constexpr const char* kNewFlag = "1";
constexpr std::size_t kFanFlag = 3;

bool areTexts(const Array& values) {
  return std::all_of(values.begin(), values.end(),
                     [](const auto& value) { return value.template as<std::string>() != nullptr; });
}

bool isPublished(const PropertyList& object, RecordForm form) {
  const auto* record = object.as<Array>();
  if (record == nullptr) return false;
  if (form == RecordForm::reading) return record->size() == 3 && areTexts(*record);
  if (record->size() != 2 || (*record)[0].as<std::string>() == nullptr) return false;
  const auto* values = (*record)[1].as<Array>();
  return values != nullptr && values->size() == kFanFlag + 1 && areTexts(*values);
}

const Array& recordOf(const PropertyList& object) { return *object.as<Array>(); }
const std::string& nameOf(const PropertyList& object) {
  return *recordOf(object)[0].as<std::string>();
}

PropertyList flagOf(const PropertyList& object, RecordForm form) {
  const Array& record = recordOf(object);
  return form == RecordForm::fan ? (*record[1].as<Array>())[kFanFlag] : record[2];
}

// The published form of a fresh record, with this viewer flag.
Array published(const PropertyList& fresh, RecordForm form, PropertyList flag) {
  Array record = recordOf(fresh);
  if (form == RecordForm::fan) {
    (*record[1].as<Array>())[kFanFlag] = std::move(flag);
  } else {
    record.push_back(std::move(flag));
  }
  return record;
}

Array rewritten(const Array& fresh, RecordForm form) {
  const PropertyList flag(kNewFlag);
  Array records;
  for (const auto& record : fresh) records.emplace_back(published(record, form, flag));
  return records;
}

// Every fresh record replaces the first stored one whose name contains its own, and takes over its
// viewer flag; one that finds none is dropped.
Array merged(const Array& fresh, Array stored, RecordForm form) {
  for (const auto& record : fresh) {
    const std::string& name = nameOf(record);
    if (name.empty()) continue;
    const auto match = std::find_if(stored.begin(), stored.end(), [&](const auto& candidate) {
      return nameOf(candidate).find(name) != std::string::npos;
    });
    if (match != stored.end()) *match = published(record, form, flagOf(*match, form));
  }
  return stored;
}

// The stored records; none where the key is absent or holds anything else.
Array storedRecords(UserDefaults& store, KeyedArchiver& archiver, std::string_view key,
                    RecordForm form) {
  const auto object = store.objectForKey(key);
  const auto* data = object ? object->as<Data>() : nullptr;
  auto records = data != nullptr ? archiver.unarchiveObjectWithData(*data) : std::nullopt;
  if (!records) return {};
  const bool whole = std::all_of(records->begin(), records->end(),
                                 [&](const auto& record) { return isPublished(record, form); });
  return whole ? std::move(*records) : Array{};
}

}  // namespace

void AppDelegate::publishSensors(const Array& fresh, RecordForm form, std::string_view key) {
  if (fresh.empty()) return;
  Array stored = storedRecords(*SharedDefaults, platform_.archiver, key, form);
  const Array records = stored.size() == fresh.size() ? merged(fresh, std::move(stored), form)
                                                      : rewritten(fresh, form);
  SharedDefaults->setObject(platform_.archiver.archivedDataWithRootObject(records), key);
}

void AppDelegate::getFanSpeed() {
  smcFanSensors = std::make_unique<SMCFanSensors>(smcSession_);
  publishSensors(smcFanSensors->getFans(), RecordForm::fan, kFanSpeedValuesKey);
}

void AppDelegate::getTemperature() {
  smcTempSensors = std::make_unique<SMCTempSensors>(smcSession_, platform_.ataSmart);
  publishSensors(smcTempSensors->getTemps(), RecordForm::reading, kTempValuesKey);
}

void AppDelegate::getVoltage() {
  smcVoltageSensors = std::make_unique<SMCVoltageSensors>(smcSession_);
  publishSensors(smcVoltageSensors->getVoltages(), RecordForm::reading, kVoltageValuesKey);
}

void AppDelegate::getPower() {
  smcVoltageSensors = std::make_unique<SMCVoltageSensors>(smcSession_);
  publishSensors(smcVoltageSensors->getPower(), RecordForm::reading, kPowerValuesKey);
}

void AppDelegate::getCurrent() {
  smcVoltageSensors = std::make_unique<SMCVoltageSensors>(smcSession_);
  publishSensors(smcVoltageSensors->getCurrent(), RecordForm::reading, kCurrentValuesKey);
}

}  // namespace tarvel
