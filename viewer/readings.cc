#include "viewer/readings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <set>
#include <string_view>
#include <system_error>

#include "platform/host/property_lists/keyed_archive.h"
#include "product/store_keys.h"
#include "text/conversions.h"

namespace tarvel::viewer {
namespace {

constexpr std::array kProcessKeys = {kCPUAppUsageKey, kMEMAppUsageKey, kEnergyAppUsageKey};
constexpr std::array kSensorKeys = {kTempValuesKey, kVoltageValuesKey, kPowerValuesKey,
                                    kCurrentValuesKey};

bool contains(const auto& keys, std::string_view key) {
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

// The tag pairs of a process record in order: "<pid>301</pid><name>…" gives (pid, 301), (name, …).
std::vector<std::pair<std::string, std::string>> tagPairs(std::string_view record) {
  std::vector<std::pair<std::string, std::string>> pairs;
  while (record.starts_with('<')) {
    const auto nameEnd = record.find('>');
    if (nameEnd == std::string_view::npos) break;
    const std::string name(record.substr(1, nameEnd - 1));
    const std::string close = "</" + name + ">";
    const auto end = record.find(close, nameEnd + 1);
    if (end == std::string_view::npos) break;
    pairs.emplace_back(name, record.substr(nameEnd + 1, end - nameEnd - 1));
    record.remove_prefix(end + close.size());
  }
  return pairs;
}

ProcessRow processRow(std::string_view record) {
  ProcessRow row;
  for (auto& [tag, text] : tagPairs(record)) {
    if (tag == "pid") {
      row.pid = intValue(text);
    } else if (tag == "name") {
      row.name = std::move(text);
    } else if (tag == "icon") {
      row.icon = std::move(text);
    } else {
      row.columns.emplace_back(tag, std::move(text));
    }
  }
  return row;
}

const std::string* textAt(const Array& record, std::size_t index) {
  return index < record.size() ? record[index].as<std::string>() : nullptr;
}

std::vector<ProcessRow> processRows(const Array& records) {
  std::vector<ProcessRow> rows;
  for (const auto& record : records) {
    if (const auto* text = record.as<std::string>()) rows.push_back(processRow(*text));
  }
  return rows;
}

template <typename Row>
void markOld(std::vector<Row>& rows) {
  std::set<std::string_view> names;
  for (auto& row : rows) row.mayBeOld = !names.insert(row.name).second;
}

std::vector<SensorRow> sensorRows(const Array& records) {
  std::vector<SensorRow> rows;
  for (const auto& object : records) {
    const auto* record = object.as<Array>();
    if (record == nullptr) continue;
    const auto* name = textAt(*record, 0);
    const auto* value = textAt(*record, 1);
    const auto* flag = textAt(*record, 2);
    if (name && value && flag) rows.push_back({*name, *value, *flag});
  }
  markOld(rows);
  return rows;
}

std::vector<FanRow> fanRows(const Array& records) {
  std::vector<FanRow> rows;
  for (const auto& object : records) {
    const auto* record = object.as<Array>();
    const auto* values =
        record != nullptr && record->size() == 2 ? (*record)[1].as<Array>() : nullptr;
    if (values == nullptr || textAt(*record, 0) == nullptr) continue;
    const std::array texts = {textAt(*values, 0), textAt(*values, 1), textAt(*values, 2),
                              textAt(*values, 3)};
    if (std::find(texts.begin(), texts.end(), nullptr) != texts.end()) continue;
    rows.push_back({*textAt(*record, 0), *texts[0], *texts[1], *texts[2], *texts[3]});
  }
  markOld(rows);
  return rows;
}

}  // namespace

std::optional<Reading> decodeReading(std::string_view key, const PropertyList& value) {
  const auto* data = value.as<Data>();
  if (data == nullptr) return std::nullopt;
  const auto root = unarchivedObject(*data);
  const auto* records = root ? root->as<Array>() : nullptr;
  if (records == nullptr) return std::nullopt;
  if (contains(kProcessKeys, key)) return processRows(*records);
  if (contains(kSensorKeys, key)) return sensorRows(*records);
  if (key == kFanSpeedValuesKey) return fanRows(*records);
  return std::nullopt;
}

std::string_view column(const ProcessRow& row, std::string_view name) {
  for (const auto& [tag, text] : row.columns) {
    if (tag == name) return text;
  }
  return {};
}

std::optional<double> numberOf(std::string_view text) {
  double number = 0;
  const auto end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (read.ec != std::errc{} || !std::isfinite(number)) return std::nullopt;
  const auto unit =
      read.ptr != end ? std::string_view("KMG").find(*read.ptr) : std::string_view::npos;
  if (unit == std::string_view::npos) return number;
  constexpr int kBitsPerUnit = 10;
  return std::ldexp(number, kBitsPerUnit * (static_cast<int>(unit) + 1));
}

std::string applicationOf(const ProcessRow& row) {
  constexpr std::string_view suffix = ".tiff";
  const bool application = row.icon.ends_with(suffix);
  return application ? row.icon.substr(0, row.icon.size() - suffix.size()) : std::string();
}

}  // namespace tarvel::viewer
