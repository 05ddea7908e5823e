#include "programs/tarvel/snapshot_output.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>

#include "product/store_keys.h"
#include "text/printable_text.h"
#include "text/utf8.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

constexpr std::size_t kPidWidth = 7;
constexpr std::size_t kNameWidth = 36;
constexpr std::size_t kValueWidth = 10;

std::string_view panelOf(std::string_view readingKey) {
  for (const auto& panel : kPanelTable) {
    if (panel.readingKey == readingKey) return panel.name;
  }
  return {};
}

std::size_t characters(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(std::max<std::size_t>(utf8Length(text), 1));
  return count;
}

std::string padding(std::string_view text, std::size_t width) {
  const auto length = characters(text);
  return std::string(length < width ? width - length : 0, ' ');
}

std::string left(std::string_view text, std::size_t width) {
  const std::string shown = printableText(text);
  return shown + padding(shown, width);
}

std::string right(std::string_view text, std::size_t width) {
  const std::string shown = printableText(text);
  return padding(shown, width) + shown;
}

// Whether the icon value is a bare file name, as it must be to be looked for in the directory.
std::optional<std::string> iconPath(const std::string& directory, const std::string& icon) {
  if (directory.empty() || icon.empty() || icon.find('/') != std::string::npos) return std::nullopt;
  const std::string path = directory + icon;
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) ? std::optional(path) : std::nullopt;
}

void addNumber(Json& object, std::string_view text, std::string_view unit) {
  const auto number = numberOf(text);
  if (!number) return;
  object["number"] = *number;
  object["unit"] = unit;
}

void addBytes(Json& object, const char* name, std::string_view text) {
  if (const auto bytes = numberOf(text)) object[name] = *bytes;
}

// The numbers of a process row: which ones it has tells the list that it is from.
void addNumbers(Json& object, const ProcessRow& row) {
  addBytes(object, "bytes", column(row, "mem"));
  addBytes(object, "compressedBytes", column(row, "cmprs"));
  addNumber(object, column(row, "cpu"), "percent");
  addNumber(object, column(row, "power"), "impact");
}

Json jsonOfRows(const std::vector<ProcessRow>& rows, std::string_view, const std::string& icons) {
  Json list = Json::array();
  for (const auto& row : rows) {
    Json object = {{"pid", row.pid}, {"name", row.name}};
    for (const auto& [tag, text] : row.columns) object[tag] = text;
    object["icon"] = row.icon;
    if (const auto path = iconPath(icons, row.icon)) object["iconPath"] = *path;
    addNumbers(object, row);
    list.push_back(std::move(object));
  }
  return list;
}

Json jsonOfRows(const std::vector<SensorRow>& rows, std::string_view key, const std::string&) {
  Json list = Json::array();
  for (const auto& row : rows) {
    Json object = {{"name", row.name}, {"value", row.value}, {"flag", row.flag}};
    addNumber(object, row.value, unitOf(key));
    if (row.mayBeOld) object["mayBeOld"] = true;
    list.push_back(std::move(object));
  }
  return list;
}

Json jsonOfRows(const std::vector<FanRow>& rows, std::string_view key, const std::string&) {
  Json list = Json::array();
  for (const auto& row : rows) {
    Json object = {{"name", row.name},
                   {"current", row.current},
                   {"minimum", row.minimum},
                   {"maximum", row.maximum},
                   {"flag", row.flag}};
    addNumber(object, row.current, unitOf(key));
    if (row.mayBeOld) object["mayBeOld"] = true;
    list.push_back(std::move(object));
  }
  return list;
}

Json jsonOf(const Traffic& traffic, const char* in, const char* out) {
  return {{in, traffic.in}, {out, traffic.out}};
}

Json jsonOf(const Memory& memory) {
  return {{"totalBytes", memory.total},
          {"usedBytes", memory.used},
          {"cacheBytes", memory.cache},
          {"swapTotalBytes", memory.swapTotal},
          {"swapUsedBytes", memory.swapUsed}};
}

Json jsonOf(const Battery& battery) {
  constexpr std::array kStates = {"discharging", "charging", "other"};
  Json object = {{"charge", battery.charge},
                 {"state", kStates[static_cast<std::size_t>(battery.state)]}};
  if (battery.left) object["secondsLeft"] = std::chrono::seconds(*battery.left).count();
  return object;
}

Json jsonOf(const std::vector<FileSystem>& systems) {
  Json list = Json::array();
  for (const auto& system : systems) {
    list.push_back({{"path", system.path},
                    {"used", system.used},
                    {"availableBytes", system.available},
                    {"totalBytes", system.total}});
  }
  return list;
}

std::string tableOf(const std::vector<ProcessRow>& rows, std::string_view) {
  if (rows.empty()) return "  none\n";
  std::string table = "  " + right("PID", kPidWidth) + "  " + left("NAME", kNameWidth);
  for (const auto& [tag, text] : rows.front().columns) table += right(tag, kValueWidth);
  table += "  ICON\n";
  for (const auto& row : rows) {
    table += "  " + right(std::to_string(row.pid), kPidWidth) + "  " + left(row.name, kNameWidth);
    for (const auto& [tag, text] : row.columns) table += right(text, kValueWidth);
    table += "  " + printableText(row.icon) + "\n";
  }
  return table;
}

const char* oldMark(bool mayBeOld) { return mayBeOld ? "  (may be old)" : ""; }

std::string tableOf(const std::vector<SensorRow>& rows, std::string_view key) {
  std::string table;
  for (const auto& row : rows) {
    table += "  " + left(row.name, kNameWidth) + right(row.value, kValueWidth) + " ";
    table += std::string(unitOf(key)) + oldMark(row.mayBeOld) + "\n";
  }
  return table;
}

std::string tableOf(const std::vector<FanRow>& rows, std::string_view key) {
  std::string table;
  for (const auto& row : rows) {
    table += "  " + left(row.name, kNameWidth) + right(row.current, kValueWidth) + " ";
    table += std::string(unitOf(key)) + "  (" + printableText(row.minimum) + " to " +
             printableText(row.maximum) + ")" + oldMark(row.mayBeOld) + "\n";
  }
  return table;
}

}  // namespace

Json jsonOf(const Snapshot& snapshot, const std::string& icons) {
  Json object = Json::object();
  for (const auto& reading : snapshot) {
    object[std::string(reading.key)] = std::visit(
        [&](const auto& rows) { return jsonOfRows(rows, reading.key, icons); }, reading.rows);
  }
  return object;
}

Json agesOf(const Snapshot& snapshot) {
  Json object = Json::object();
  for (const auto& reading : snapshot) {
    Json& age = object[std::string(reading.key)];
    if (reading.age) age = std::chrono::duration<double>(*reading.age).count();
  }
  return object;
}

Json jsonOf(const MachineTotals& totals) {
  Json object = {{"uptimeSeconds", totals.uptime.count()}};
  if (const auto& processors = totals.processors) {
    object["processors"] = {{"busy", processors->busy}, {"cores", processors->cores}};
  }
  if (totals.memory) object["memory"] = jsonOf(*totals.memory);
  if (const auto& load = totals.load) object["load"] = {load->one, load->five, load->fifteen};
  if (const auto& pressure = totals.pressure) {
    object["pressurePercent"] = {
        {"processor", pressure->processor}, {"memory", pressure->memory}, {"disk", pressure->disk}};
  }
  if (totals.disks) {
    object["disks"] = jsonOf(*totals.disks, "readBytesPerSecond", "writtenBytesPerSecond");
  }
  if (totals.networks) {
    object["networks"] = jsonOf(*totals.networks, "receivedBytesPerSecond", "sentBytesPerSecond");
  }
  object["nearlyFull"] = jsonOf(totals.nearlyFull);
  if (totals.battery) object["battery"] = jsonOf(*totals.battery);
  return object;
}

Json everythingOf(const Snapshot& snapshot, const MachineTotals& totals) {
  Json object = jsonOf(snapshot, iconDirectory());
  object["age"] = agesOf(snapshot);
  object["machine"] = jsonOf(totals);
  return object;
}

std::string tablesOf(const Snapshot& snapshot) {
  std::string tables;
  for (const auto& reading : snapshot) {
    if (!tables.empty()) tables += "\n";
    tables += std::string(panelTitle(panelOf(reading.key)));
    if (reading.isStale()) {
      tables += reading.age ? " (" + ageText(reading.age) + " old)" : " (of unknown age)";
    }
    tables += "\n";
    tables += std::visit([key = reading.key](const auto& rows) { return tableOf(rows, key); },
                         reading.rows);
  }
  return tables;
}

}  // namespace tarvel::viewer
