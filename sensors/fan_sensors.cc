#include "sensors/fan_sensors.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "sensors/fan_names.h"
#include "sensors/sort.h"
#include "smc/smc_wrapper.h"
#include "text/conversions.h"

namespace tarvel {
namespace {

constexpr double kMostFans = 10;

}  // namespace

SMCFanSensors::SMCFanSensors(SMCSession& session) : session_(session) { setFanNames(); }

void SMCFanSensors::setFanNames() { fanSensorName = kFanNames; }

Array SMCFanSensors::getFans() {
  SMCWrapper& wrapper = session_.sharedWrapper();
  std::map<std::string, Array> valuesOfFan;
  std::optional<double> number;
  if (wrapper.readKeyIntoNumber("FNum", number)) {
    const int count = static_cast<int>(std::clamp(number.value_or(0), 0.0, kMostFans));
    for (int index = 0; index < count; ++index) {
      Array values = fanValues(wrapper, index);
      valuesOfFan.insert_or_assign(wrapper.getFanName(index), std::move(values));
    }
  }
  Array records;
  for (auto& [name, values] : valuesOfFan) {
    const auto display = displayName(fanSensorName, name).value_or(name);
    records.emplace_back(Array{std::string(display), std::move(values)});
  }
  sortUsingSelector(records, sortValues);
  return records;
}

Array SMCFanSensors::fanValues(SMCWrapper& wrapper, int index) {
  Array values;
  for (const char* speed : {"Ac", "Mn", "Mx"}) {
    std::string text;
    wrapper.readKeyAsString(std::string("F").append(std::to_string(index)).append(speed), text);
    values.emplace_back(std::to_string(intValue(text)));
  }
  values.emplace_back("1");
  return values;
}

}  // namespace tarvel
