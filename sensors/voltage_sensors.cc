#include "sensors/voltage_sensors.h"

#include <string>

#include "sensors/electrical_keys.h"
#include "sensors/sort.h"
#include "smc/smc_wrapper.h"
#include "text/conversions.h"
#include "text/decimal_text.h"

namespace tarvel {
namespace {

constexpr auto kVoltageKeys = keysOf(kVoltages);
constexpr auto kCurrentKeys = keysOf(kCurrents);
constexpr auto kPowerKeys = keysOf(kPowers);
constexpr int kReadingDecimals = 2;

}  // namespace

SMCVoltageSensors::SMCVoltageSensors(SMCSession& session) : session_(session) { setKeys(); }

void SMCVoltageSensors::setKeys() {
  smcVoltageKeys = kVoltageKeys;
  smcCurrentKeys = kCurrentKeys;
  smcPowerKeys = kPowerKeys;
  smcVoltageSensorName = kVoltages;
  smcCurrentSensorName = kCurrents;
  smcPowerSensorName = kPowers;
}

Array SMCVoltageSensors::getVoltages() { return readings(smcVoltageKeys, smcVoltageSensorName); }

Array SMCVoltageSensors::getCurrent() { return readings(smcCurrentKeys, smcCurrentSensorName); }

Array SMCVoltageSensors::getPower() { return readings(smcPowerKeys, smcPowerSensorName); }

Array SMCVoltageSensors::readings(SensorKeys keys, SensorNames names) {
  SMCWrapper& wrapper = session_.sharedWrapper();
  Array records;
  std::string text;
  for (const auto key : wrapper.getSupportedTempValues(keys)) {
    if (!wrapper.readKeyAsString(key, text)) continue;
    records.emplace_back(
        Array{std::string(displayName(names, key).value_or(key)),
              decimalText(static_cast<double>(floatValue(text)), kReadingDecimals)});
  }
  sortUsingSelector(records, sortValues);
  return records;
}

}  // namespace tarvel
