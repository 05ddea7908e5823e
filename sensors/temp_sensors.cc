#include "sensors/temp_sensors.h"

#include "sensors/sort.h"
#include "sensors/temperature_keys.h"
#include "smc/smc_wrapper.h"
#include "text/conversions.h"

namespace tarvel {
namespace {

constexpr auto kTemperatureKeys = keysOf(kTemperatures);
constexpr std::int32_t kCallsBetweenDiskReadings = 60;

// "TC0C" to "TC9C" and "TC0c" to "TC9c".
constexpr bool isCoreKey(std::string_view key) {
  return key.size() == 4 && key.starts_with("TC") && key[2] >= '0' && key[2] <= '9' &&
         (key[3] == 'C' || key[3] == 'c');
}

}  // namespace

SMCTempSensors::SMCTempSensors(SMCSession& session, AtaSmart& ataSmart)
    : session_(session), ataSmart_(ataSmart) {
  setTempKeys();
}

void SMCTempSensors::setTempKeys() {
  smcTempKeys = kTemperatureKeys;
  smcTempSensorName = kTemperatures;
}

Array SMCTempSensors::getTemps() {
  Array records;
  appendControllerReadings(records);
  if (smartTick == kCallsBetweenDiskReadings || !hasSmartData) refreshSmartData();
  ++smartTick;
  for (const auto& [model, temperature] : smartData)
    records.emplace_back(Array{"HDD", temperature});
  sortUsingSelector(records, sortTemps);
  return records;
}

void SMCTempSensors::appendControllerReadings(Array& records) {
  SMCWrapper& wrapper = session_.sharedWrapper();
  int cores = 0;
  std::string text;
  for (const auto key : wrapper.getSupportedTempValues(smcTempKeys)) {
    if (!wrapper.readKeyAsString(key, text)) continue;
    const auto value = intValue(text);
    if (value < 1) continue;
    std::string name(displayName(smcTempSensorName, key).value_or(key));
    if (isCoreKey(key)) name.append(" ").append(std::to_string(++cores));
    records.emplace_back(Array{std::move(name), std::to_string(value)});
  }
}

void SMCTempSensors::refreshSmartData() {
  smartTick = 0;
  hasSmartData = true;
  smartController = std::make_unique<SmartController>(ataSmart_);
  smartController->update();
  smartData = smartController->getDataSet(TemperatureUnit::celsius);
}

}  // namespace tarvel
