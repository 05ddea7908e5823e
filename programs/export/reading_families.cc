#include "programs/export/reading_families.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "product/store_keys.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

std::string_view shortNameOf(std::string_view readingKey) {
  const auto panel = std::ranges::find(kPanelTable, readingKey, &Panel::readingKey);
  return panel != kPanelTable.end() ? shortName(panel->name) : std::string_view();
}

// The labels of the rows of one reading, asked for in the rows' order.
class SensorLabels {
 public:
  SensorLabels(std::string_view label, std::string_view readingKey, const SourceOf& sourceOf)
      : label_(label), panel_(shortNameOf(readingKey)), sourceOf_(sourceOf) {}

  Labels next(const std::string& sensor) {
    const std::size_t place = places_[sensor]++;
    const auto source = sourceOf_(panel_, sensor, place).value_or(ListedSource());
    return {{label_, sensor},
            {"place", std::to_string(place + 1)},
            {"source", source.chip},
            {"model", source.model}};
  }

 private:
  std::string_view label_;
  std::string_view panel_;
  const SourceOf& sourceOf_;
  std::map<std::string, std::size_t> places_;
};

Family sensorFamily(std::string_view key) {
  if (key == kTempValuesKey) return {"tarvel_temperature_celsius", "Temperature of the sensor."};
  if (key == kVoltageValuesKey) return {"tarvel_voltage_volts", "Voltage of the sensor."};
  if (key == kPowerValuesKey) return {"tarvel_power_watts", "Power of the sensor."};
  return {"tarvel_current_amperes", "Current of the sensor."};
}

void addRows(const std::vector<SensorRow>& rows, std::string_view key, const SourceOf& sourceOf,
             Families& families) {
  Family family = sensorFamily(key);
  SensorLabels labels("sensor", key, sourceOf);
  for (const auto& row : rows) {
    if (!row.mayBeOld) family.add(labels.next(row.name), numberOf(row.value));
  }
  std::move(family).addTo(families);
}

void addRows(const std::vector<FanRow>& rows, std::string_view key, const SourceOf& sourceOf,
             Families& families) {
  Family current("tarvel_fan_rpm", "Speed of the fan in revolutions per minute.");
  Family minimum("tarvel_fan_minimum_rpm", "Lowest speed of the fan.");
  Family maximum("tarvel_fan_maximum_rpm", "Highest speed of the fan.");
  SensorLabels sensorLabels("fan", key, sourceOf);
  for (const auto& row : rows) {
    if (row.mayBeOld) continue;
    const auto labels = sensorLabels.next(row.name);
    current.add(labels, numberOf(row.current));
    minimum.add(labels, numberOf(row.minimum));
    maximum.add(labels, numberOf(row.maximum));
  }
  for (auto* family : {&current, &minimum, &maximum}) std::move(*family).addTo(families);
}

void addRows(const std::vector<ProcessRow>&, std::string_view, const SourceOf&, Families&) {}

}  // namespace

void addTimes(const Snapshot& snapshot, std::chrono::system_clock::time_point now,
              Families& families) {
  Family family("tarvel_readings_timestamp_seconds", "When the helper published the reading.");
  for (const auto& reading : snapshot) {
    if (!reading.age) continue;
    const std::chrono::duration<double> time = (now - *reading.age).time_since_epoch();
    family.add({{"reading", std::string(reading.key)}}, time.count());
  }
  std::move(family).addTo(families);
}

void addSensors(const StoredReading& reading, const SourceOf& sourceOf, Families& families) {
  std::visit([&](const auto& rows) { addRows(rows, reading.key, sourceOf, families); },
             reading.rows);
}

}  // namespace tarvel::viewer
