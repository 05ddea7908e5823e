#include "viewer/display_rows.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "product/store_keys.h"
#include "text/conversions.h"
#include "viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

constexpr double kFullLoad = 100;  // percent of a core
constexpr double kWarmDegrees = 75;
constexpr double kHotDegrees = 90;
constexpr double kWarmShare = 0.7;
constexpr double kHotShare = 0.9;

// The column of a process list that it is ordered by.
std::string_view mainColumn(std::string_view key) {
  if (key == kCPUAppUsageKey) return "cpu";
  return key == kMEMAppUsageKey ? "mem" : "power";
}

std::string trimmed(const std::string& text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string lowered(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  return lower;
}

Level levelOf(double value, double warm, double hot) {
  if (value >= hot) return Level::kHot;
  return value >= warm ? Level::kWarm : Level::kNormal;
}

DisplayRow rowOf(std::string_view key, const ProcessRow& process) {
  DisplayRow row;
  row.id = std::string(key) + " " + std::to_string(process.pid);
  row.name = trimmed(process.name);
  row.value = column(process, mainColumn(key));
  row.number = numberOf(row.value);
  if (key == kCPUAppUsageKey) row.value += "%";
  row.note = applicationOf(process);
  if (row.note.empty()) row.note = column(process, "user");
  row.isApplication = !applicationOf(process).empty();
  row.pid = process.pid;
  return row;
}

std::string formatted(const char* format, double number) {
  char text[32];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

// One row for all processes of an application; their loads added up.
std::vector<DisplayRow> grouped(const std::vector<DisplayRow>& rows) {
  std::vector<DisplayRow> groups;
  std::map<std::string, std::size_t> places;
  std::map<std::string, int> counts;
  for (const auto& row : rows) {
    if (!row.isApplication) {
      groups.push_back(row);
      continue;
    }
    const int count = ++counts[row.note];
    const auto [place, isNew] = places.emplace(row.note, groups.size());
    if (isNew) {
      groups.push_back(row);
      groups.back().id = "application " + row.note + " " + row.id.substr(0, row.id.find(' '));
      continue;
    }
    DisplayRow& group = groups[place->second];
    group.number = group.number.value_or(0) + row.number.value_or(0);
    group.value = textLike(row.value, *group.number);
    group.name = row.note + " (" + std::to_string(count) + ")";
  }
  return groups;
}

void setShares(std::string_view key, std::vector<DisplayRow>& rows) {
  double full = kFullLoad;
  if (key != kCPUAppUsageKey) {
    full = 0;
    for (const auto& row : rows) full = std::max(full, row.number.value_or(0));
  }
  for (auto& row : rows) {
    row.share = full > 0 ? std::clamp(row.number.value_or(0) / full, 0.0, 1.0) : 0;
    if (key == kCPUAppUsageKey) row.level = levelOf(row.share, kWarmShare, kHotShare);
  }
}

struct Rows {
  std::string_view key;
  const Choices& choices;

  std::vector<DisplayRow> operator()(const std::vector<ProcessRow>& processes) const {
    std::vector<DisplayRow> rows;
    for (const auto& process : processes) rows.push_back(rowOf(key, process));
    if (choices.isGrouped) rows = grouped(rows);
    setShares(key, rows);
    return rows;
  }

  std::vector<DisplayRow> operator()(const std::vector<SensorRow>& sensors) const {
    std::vector<DisplayRow> rows;
    for (const auto& sensor : sensors) {
      rows.push_back(sensorRow(sensor.name, sensor.value, sensor.flag));
      if (key != kTempValuesKey) continue;
      const double degrees = rows.back().number.value_or(0);
      rows.back().level = levelOf(degrees, kWarmDegrees, kHotDegrees);
      rows.back().share = std::clamp(degrees / 100, 0.0, 1.0);
    }
    return rows;
  }

  std::vector<DisplayRow> operator()(const std::vector<FanRow>& fans) const {
    std::vector<DisplayRow> rows;
    for (const auto& fan : fans) {
      DisplayRow row = sensorRow(fan.name, fan.current, fan.flag);
      row.note = fan.minimum + " to " + fan.maximum;
      const double least = numberOf(fan.minimum).value_or(0);
      const double range = numberOf(fan.maximum).value_or(0) - least;
      row.share = range > 0 ? std::clamp((row.number.value_or(0) - least) / range, 0.0, 1.0) : 0;
      row.level = levelOf(row.share, kWarmShare, kHotShare);
      rows.push_back(std::move(row));
    }
    return rows;
  }

  DisplayRow sensorRow(const std::string& name, const std::string& value,
                       std::string_view flag) const {
    DisplayRow row;
    row.name = name;
    row.number = numberOf(value);
    row.value = value + " " + std::string(unitOf(key));
    row.isHidden = flag == "0";
    return row;
  }
};

// Sensors of one name are told apart by their place among those of that name.
void setSensorIds(std::string_view key, std::vector<DisplayRow>& rows) {
  std::map<std::string, int> seen;
  for (auto& row : rows) {
    if (!row.id.empty()) continue;
    row.id = std::string(key) + " " + row.name + " " + std::to_string(++seen[row.name]);
  }
}

bool comesBefore(const DisplayRow& a, const DisplayRow& b, Order order) {
  switch (order) {
    case Order::kValue:
      return a.number.value_or(0) > b.number.value_or(0);
    case Order::kName:
      return caseInsensitiveCompare(a.name, b.name) < 0;
    case Order::kPid:
      return a.pid < b.pid;
    case Order::kListed:
      break;
  }
  return false;
}

}  // namespace

std::vector<DisplayRow> displayRows(std::string_view key, const Reading& reading,
                                    const Choices& choices) {
  auto rows = std::visit(Rows{key, choices}, reading);
  setSensorIds(key, rows);
  const std::string wanted = lowered(choices.filter);
  std::erase_if(rows, [&](const DisplayRow& row) {
    const bool filtered = lowered(row.name).find(wanted) == std::string::npos;
    return filtered || (row.isHidden && !choices.showsHidden);
  });
  std::stable_sort(rows.begin(), rows.end(), [&](const DisplayRow& a, const DisplayRow& b) {
    return comesBefore(a, b, choices.order);
  });
  return rows;
}

std::string textLike(const std::string& other, double number) {
  if (other.ends_with('%')) return formatted("%.1f%%", number);
  if (other.find(' ') != std::string::npos) return formatted("%.2f", number);  // with a unit
  if (other.find_last_of("KMG") == std::string::npos) return formatted("%.1f", number);
  constexpr double kibi = 1024;
  if (number < 10 * kibi * kibi) return formatted("%.0fK", number / kibi);
  if (number < 10 * kibi * kibi * kibi) return formatted("%.0fM", number / kibi / kibi);
  return formatted("%.1fG", number / kibi / kibi / kibi);
}

}  // namespace tarvel::viewer
