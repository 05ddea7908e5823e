#include "programs/tarvel/line_template.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "product/store_keys.h"
#include "text/printable_text.h"
#include "viewer/machine/amounts.h"

namespace tarvel::viewer {
namespace {

using Text = std::optional<std::string>;

struct SensorField {
  std::string_view name;
  std::string_view key;
};
constexpr std::array<SensorField, 5> kSensorFields = {{{"temp", kTempValuesKey},
                                                       {"fan", kFanSpeedValuesKey},
                                                       {"power", kPowerValuesKey},
                                                       {"voltage", kVoltageValuesKey},
                                                       {"current", kCurrentValuesKey}}};

std::string percentText(double share) { return std::to_string(std::lround(share * 100)); }

Text bytesOf(const std::optional<Traffic>& traffic, double Traffic::*rate) {
  if (!traffic) return std::nullopt;
  return bytesText((*traffic).*rate);
}

struct NamedField {
  std::string_view name;
  Text (*value)(const MachineTotals&);
};
constexpr std::array<NamedField, 11> kMachineFields = {{
    {"cpu",
     [](const MachineTotals& t) -> Text {
       return t.processors ? Text(percentText(t.processors->busy)) : std::nullopt;
     }},
    {"mem",
     [](const MachineTotals& t) -> Text {
       return t.memory ? Text(bytesText(static_cast<double>(t.memory->used))) : std::nullopt;
     }},
    {"swap",
     [](const MachineTotals& t) -> Text {
       return t.memory ? Text(bytesText(static_cast<double>(t.memory->swapUsed))) : std::nullopt;
     }},
    {"load",
     [](const MachineTotals& t) -> Text {
       if (!t.load) return std::nullopt;
       std::array<char, 32> text{};
       std::snprintf(text.data(), text.size(), "%.2f", t.load->one);
       return text.data();
     }},
    {"uptime", [](const MachineTotals& t) -> Text { return durationText(t.uptime); }},
    {"battery",
     [](const MachineTotals& t) -> Text {
       return t.battery ? Text(percentText(t.battery->charge) + "%") : std::nullopt;
     }},
    {"battery.time",
     [](const MachineTotals& t) -> Text {
       return t.battery && t.battery->left ? Text(hoursText(*t.battery->left)) : std::nullopt;
     }},
    {"disk.read", [](const MachineTotals& t) { return bytesOf(t.disks, &Traffic::in); }},
    {"disk.write", [](const MachineTotals& t) { return bytesOf(t.disks, &Traffic::out); }},
    {"net.in", [](const MachineTotals& t) { return bytesOf(t.networks, &Traffic::in); }},
    {"net.out", [](const MachineTotals& t) { return bytesOf(t.networks, &Traffic::out); }},
}};

const StoredReading* readingOf(const Snapshot& snapshot, std::string_view key) {
  const auto found = std::find_if(snapshot.begin(), snapshot.end(),
                                  [&](const StoredReading& reading) { return reading.key == key; });
  return found != snapshot.end() && !found->isStale() ? &*found : nullptr;
}

// The row of that name, else of the largest number; hidden ones count by name only.
Text sensorText(const StoredReading& reading, std::string_view name) {
  const bool largest = name.empty() || name == "max";
  Text text;
  double most = 0;
  const auto consider = [&](const auto& row, const std::string& value) {
    const auto number = numberOf(value);
    if (!number || row.mayBeOld || (largest ? row.flag == "0" : row.name != name)) return;
    if (text && (!largest || *number <= most)) return;
    most = *number;
    text = value + " " + std::string(unitOf(reading.key));
  };
  if (const auto* sensors = std::get_if<std::vector<SensorRow>>(&reading.rows)) {
    for (const auto& row : *sensors) consider(row, row.value);
  } else if (const auto* fans = std::get_if<std::vector<FanRow>>(&reading.rows)) {
    for (const auto& row : *fans) consider(row, row.current);
  }
  return text;
}

Text busiestProcess(const Snapshot& snapshot) {
  const auto* reading = readingOf(snapshot, kCPUAppUsageKey);
  const auto* rows = reading ? std::get_if<std::vector<ProcessRow>>(&reading->rows) : nullptr;
  if (rows == nullptr || rows->empty()) return std::nullopt;
  const auto& name = rows->front().name;
  return name.substr(0, name.find_last_not_of(' ') + 1);
}

Text newestAge(const Snapshot& snapshot) {
  std::optional<std::chrono::milliseconds> newest;
  for (const auto& reading : snapshot) {
    if (reading.age && (!newest || *reading.age < *newest)) newest = reading.age;
  }
  return newest ? Text(std::to_string(newest->count() / 1000)) : std::nullopt;
}

const SensorField* sensorField(std::string_view name) {
  const auto found = std::find_if(kSensorFields.begin(), kSensorFields.end(),
                                  [&](const SensorField& field) { return field.name == name; });
  return found != kSensorFields.end() ? &*found : nullptr;
}

bool isField(std::string_view field) {
  const auto colon = field.find(':');
  if (sensorField(field.substr(0, colon)) != nullptr) return true;
  return field == "top" || field == "age" ||
         std::any_of(kMachineFields.begin(), kMachineFields.end(),
                     [&](const NamedField& known) { return known.name == field; });
}

Text valueOf(std::string_view field, const Snapshot& snapshot, const MachineTotals& totals) {
  if (field == "top") return busiestProcess(snapshot);
  if (field == "age") return newestAge(snapshot);
  for (const auto& known : kMachineFields) {
    if (known.name == field) return known.value(totals);
  }
  const auto colon = std::min(field.find(':'), field.size());
  const auto* sensor = sensorField(field.substr(0, colon));
  const auto* reading = sensor != nullptr ? readingOf(snapshot, sensor->key) : nullptr;
  if (reading == nullptr) return std::nullopt;
  return sensorText(*reading, colon < field.size() ? field.substr(colon + 1) : std::string_view{});
}

// Walks the text: `plain` gets what stands between fields, `field` each field's name. False where a
// brace is left open.
template <typename Plain, typename Field>
bool walk(std::string_view text, Plain plain, Field field) {
  while (!text.empty()) {
    const auto brace = text.find_first_of("{}");
    plain(text.substr(0, brace));
    if (brace == std::string_view::npos) return true;
    text.remove_prefix(brace);
    if (text.starts_with("{{") || text.starts_with("}}")) {
      plain(text.substr(0, 1));
      text.remove_prefix(2);
      continue;
    }
    const auto close = text.find('}');
    if (text.front() == '}' || close == std::string_view::npos) return false;
    field(text.substr(1, close - 1));
    text.remove_prefix(close + 1);
  }
  return true;
}

}  // namespace

std::optional<std::string> templateFault(std::string_view text) {
  std::optional<std::string> fault;
  const auto check = [&](std::string_view field) {
    if (!fault && !isField(field)) fault = "no such field: {" + std::string(field) + "}";
  };
  if (!walk(
          text, [](std::string_view) {}, check))
    return "a brace stands alone";
  return fault;
}

std::string filledTemplate(std::string_view text, const Snapshot& snapshot,
                           const MachineTotals& totals,
                           const std::function<std::string(const std::string&)>& shown) {
  std::string filled;
  walk(
      text, [&](std::string_view plain) { filled += plain; },
      [&](std::string_view field) {
        filled += shown(printableText(valueOf(field, snapshot, totals).value_or("-")));
      });
  return filled;
}

}  // namespace tarvel::viewer
