#include "programs/tarvel/snapshot_output.h"

#include <algorithm>
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

Json jsonOfRows(const std::vector<ProcessRow>& rows, const std::string& icons) {
  Json list = Json::array();
  for (const auto& row : rows) {
    Json object = {{"pid", row.pid}, {"name", row.name}};
    for (const auto& [tag, text] : row.columns) object[tag] = text;
    object["icon"] = row.icon;
    if (const auto path = iconPath(icons, row.icon)) object["iconPath"] = *path;
    list.push_back(std::move(object));
  }
  return list;
}

Json jsonOfRows(const std::vector<SensorRow>& rows, const std::string&) {
  Json list = Json::array();
  for (const auto& row : rows) {
    list.push_back({{"name", row.name}, {"value", row.value}, {"flag", row.flag}});
  }
  return list;
}

Json jsonOfRows(const std::vector<FanRow>& rows, const std::string&) {
  Json list = Json::array();
  for (const auto& row : rows) {
    list.push_back({{"name", row.name},
                    {"current", row.current},
                    {"minimum", row.minimum},
                    {"maximum", row.maximum},
                    {"flag", row.flag}});
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

std::string tableOf(const std::vector<SensorRow>& rows, std::string_view key) {
  std::string table;
  for (const auto& row : rows) {
    table += "  " + left(row.name, kNameWidth) + right(row.value, kValueWidth) + " ";
    table += std::string(unitOf(key)) + "\n";
  }
  return table;
}

std::string tableOf(const std::vector<FanRow>& rows, std::string_view key) {
  std::string table;
  for (const auto& row : rows) {
    table += "  " + left(row.name, kNameWidth) + right(row.current, kValueWidth) + " ";
    table += std::string(unitOf(key)) + "  (" + printableText(row.minimum) + " to " +
             printableText(row.maximum) + ")\n";
  }
  return table;
}

}  // namespace

Json jsonOf(const Snapshot& snapshot, const std::string& icons) {
  Json object = Json::object();
  for (const auto& [key, reading] : snapshot) {
    object[std::string(key)] =
        std::visit([&](const auto& rows) { return jsonOfRows(rows, icons); }, reading);
  }
  return object;
}

std::string tablesOf(const Snapshot& snapshot) {
  std::string tables;
  for (const auto& [key, reading] : snapshot) {
    if (!tables.empty()) tables += "\n";
    tables += std::string(panelTitle(panelOf(key))) + "\n";
    tables += std::visit([k = key](const auto& rows) { return tableOf(rows, k); }, reading);
  }
  return tables;
}

}  // namespace tarvel::viewer
