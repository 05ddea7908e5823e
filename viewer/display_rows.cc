#include "viewer/display_rows.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "product/store_keys.h"
#include "text/conversions.h"
#include "viewer/process_facts.h"
#include "viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

constexpr double kFullLoad = 100;  // percent of a core
constexpr double kWarmDegrees = 75;
constexpr double kHotDegrees = 90;
constexpr double kWarmShare = 0.7;
constexpr double kHotShare = 0.9;
constexpr double kFullDegrees = 100;
constexpr std::size_t kKernelNameLength = 15;  // TASK_COMM_LEN less its NUL

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

// The kernel keeps fifteen bytes of a name: the command line tells the rest of it.
std::string fullName(const ProcessRow& process, const FactsOf& factsOf) {
  std::string name = trimmed(process.name);
  if (name.size() < kKernelNameLength) return name;
  const auto* facts = factsOf(process.pid);
  return facts != nullptr && facts->program.starts_with(name) ? facts->program : name;
}

DisplayRow rowOf(std::string_view key, const ProcessRow& process, const FactsOf& factsOf) {
  DisplayRow row;
  row.id = std::string(key) + " " + std::to_string(process.pid);
  row.name = fullName(process, factsOf);
  row.value = column(process, mainColumn(key));
  row.number = numberOf(row.value);
  if (key == kCPUAppUsageKey) row.value += "%";
  row.note = applicationOf(process);
  row.user = column(process, "user");
  row.isApplication = !row.note.empty();
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
  // A group may have risen above rows that the list had before it.
  std::stable_sort(groups.begin(), groups.end(), [](const DisplayRow& a, const DisplayRow& b) {
    return a.number.value_or(0) > b.number.value_or(0);
  });
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
    row.scale = {0, full};
    if (key == kCPUAppUsageKey) row.level = levelOf(row.share, kWarmShare, kHotShare);
  }
}

std::string degreesText(double celsius, bool isFahrenheit) {
  constexpr double kDegreesPerCelsius = 1.8;
  if (!isFahrenheit) return formatted("%.0f °C", celsius);
  return formatted("%.0f °F", celsius * kDegreesPerCelsius + 32);
}

struct Rows {
  std::string_view key;
  const Choices& choices;
  const FactsOf& factsOf;

  std::vector<DisplayRow> operator()(const std::vector<ProcessRow>& processes) const {
    std::vector<DisplayRow> rows;
    for (const auto& process : processes) rows.push_back(rowOf(key, process, factsOf));
    if (choices.isGrouped) rows = grouped(rows);
    setShares(key, rows);
    return rows;
  }

  std::vector<DisplayRow> operator()(const std::vector<SensorRow>& sensors) const {
    std::vector<DisplayRow> rows;
    for (const auto& sensor : sensors) {
      rows.push_back(sensorRow(sensor.name, sensor.value, sensor.flag, sensor.mayBeOld));
      DisplayRow& row = rows.back();
      if (key == kTempValuesKey && row.number) {
        row.level = temperatureLevel(*row.number);
        row.share = std::clamp(*row.number / kFullDegrees, 0.0, 1.0);
        row.scale = {0, kFullDegrees};
        row.value = degreesText(*row.number, choices.isFahrenheit);
      }
    }
    if (key == kPowerValuesKey) setPowerScale(rows);
    return rows;
  }

  std::vector<DisplayRow> operator()(const std::vector<FanRow>& fans) const {
    std::vector<DisplayRow> rows;
    for (const auto& fan : fans) {
      DisplayRow row = sensorRow(fan.name, fan.current, fan.flag, fan.mayBeOld);
      const double least = numberOf(fan.minimum).value_or(0);
      const double most = numberOf(fan.maximum).value_or(0);
      if (most > least) {
        row.note = fan.minimum + " to " + fan.maximum;
        row.share = std::clamp((row.number.value_or(0) - least) / (most - least), 0.0, 1.0);
        row.scale = {least, most};
        row.level = row.share >= kHotShare    ? Level::kHot
                    : row.share >= kWarmShare ? Level::kWarm
                                              : Level::kNormal;
      }
      rows.push_back(std::move(row));
    }
    return rows;
  }

  DisplayRow sensorRow(const std::string& name, const std::string& value, std::string_view flag,
                       bool mayBeOld) const {
    DisplayRow row;
    const auto alias = choices.aliases.find({std::string(key), name});
    row.name = alias != choices.aliases.end() ? alias->second : name;
    row.sensor = name;
    row.number = numberOf(value);
    row.value = value + " " + std::string(unitOf(key));
    row.isHidden = flag == "0";
    if (mayBeOld) row.name += " (may be old)";
    return row;
  }

  static void setPowerScale(std::vector<DisplayRow>& rows) {
    double most = 0;
    for (const auto& row : rows) most = std::max(most, row.number.value_or(0));
    for (auto& row : rows) row.scale = {0, most};
  }
};

// Sensors of one name are told apart by their place among those of that name.
void setSensorIds(std::string_view key, std::vector<DisplayRow>& rows) {
  std::map<std::string, std::size_t> seen;
  for (auto& row : rows) {
    if (!row.id.empty()) continue;
    row.place = seen[row.sensor]++;
    row.id = std::string(key) + " " + row.sensor + " " + std::to_string(row.place + 1);
  }
}

bool contains(const std::string& text, const std::string& wanted) {
  return lowered(text).find(wanted) != std::string::npos;
}

bool matches(const DisplayRow& row, const std::string& wanted, const FactsOf& factsOf) {
  if (wanted.empty() || contains(row.name, wanted) || contains(row.note, wanted) ||
      contains(row.sensor, wanted)) {
    return true;
  }
  const auto* facts = row.pid > 0 ? factsOf(row.pid) : nullptr;
  return facts != nullptr && (contains(facts->command, wanted) || contains(facts->user, wanted));
}

// Every row below its parent where that is listed as well, in the order of the rows.
std::vector<DisplayRow> asTree(std::vector<DisplayRow> rows, const FactsOf& factsOf) {
  std::map<std::int32_t, std::int32_t> parents;
  for (const auto& row : rows) {
    const auto* facts = factsOf(row.pid);
    parents[row.pid] = facts != nullptr ? facts->parent : 0;
  }
  std::vector<DisplayRow> tree;
  std::vector<bool> isPlaced(rows.size(), false);
  const auto place = [&](const auto& self, std::size_t index, int depth) -> void {
    if (isPlaced[index]) return;
    isPlaced[index] = true;
    tree.push_back(rows[index]);
    tree.back().depth = depth;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (parents[rows[i].pid] == rows[index].pid) self(self, i, depth + 1);
    }
  };
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (!parents.contains(parents[rows[i].pid])) place(place, i, 0);
  }
  for (std::size_t i = 0; i < rows.size(); ++i) place(place, i, 0);  // parents in a circle
  return tree;
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

Level temperatureLevel(double degrees) {
  if (degrees >= kHotDegrees) return Level::kHot;
  return degrees >= kWarmDegrees ? Level::kWarm : Level::kNormal;
}

std::vector<DisplayRow> displayRows(std::string_view key, const Reading& reading,
                                    const Choices& choices, const FactsOf& factsOf) {
  auto rows = std::visit(Rows{key, choices, factsOf}, reading);
  setSensorIds(key, rows);
  const bool filters = choices.filteredPanel.empty() || choices.filteredPanel == key;
  const std::string wanted = filters ? lowered(choices.filter) : std::string();
  std::erase_if(rows, [&](const DisplayRow& row) {
    return (row.isHidden && !choices.showsHidden) || !matches(row, wanted, factsOf);
  });
  std::stable_sort(rows.begin(), rows.end(), [&](const DisplayRow& a, const DisplayRow& b) {
    return comesBefore(a, b, choices.order);
  });
  const bool isList = std::holds_alternative<std::vector<ProcessRow>>(reading);
  if (isList && choices.isTree && !choices.isGrouped) rows = asTree(std::move(rows), factsOf);
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
