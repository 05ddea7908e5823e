#include "programs/tarvel/widget_line.h"

#include <algorithm>

#include "product/store_keys.h"
#include "programs/tarvel/output.h"
#include "text/printable_text.h"

namespace tarvel::viewer {
namespace {

constexpr double kHotDegrees = 90;
constexpr std::string_view kSystemPower = "System Total";
constexpr std::string_view kBetween = " · ";

// One thing that the line tells.
struct Part {
  std::string text;   // "71 °C"
  std::string label;  // what it is of
  double number = 0;
  bool isHot = false;
};

std::string trimmed(const std::string& text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

Part partOf(const ProcessRow& row, std::string_view) {
  const std::string load(column(row, "cpu"));
  const std::string name = trimmed(row.name);
  return {name + " " + load + "%", name, numberOf(load).value_or(-1), false};
}

Part partOf(const SensorRow& row, std::string_view key) {
  const double number = row.flag == "0" ? -1 : numberOf(row.value).value_or(-1);
  const bool hot = key == kTempValuesKey && number >= kHotDegrees;
  return {row.value + " " + std::string(unitOf(key)), row.name, number, hot};
}

Part partOf(const FanRow& row, std::string_view key) {
  const double number = row.flag == "0" ? -1 : numberOf(row.current).value_or(-1);
  return {row.current + " " + std::string(unitOf(key)), row.name, number, false};
}

// The row of the largest number; none where no row has one.
template <typename Row>
std::optional<Part> largest(const std::vector<Row>& rows, std::string_view key) {
  std::optional<Part> found;
  for (const auto& row : rows) {
    if constexpr (std::is_same_v<Row, SensorRow>) {
      if (key == kPowerValuesKey && row.name != kSystemPower) continue;
    }
    Part part = partOf(row, key);
    if (part.number >= 0 && (!found || part.number > found->number)) found = std::move(part);
  }
  return found;
}

std::vector<Part> partsOf(const Snapshot& snapshot) {
  std::vector<Part> parts;
  for (const auto key : {kCPUAppUsageKey, kTempValuesKey, kFanSpeedValuesKey, kPowerValuesKey}) {
    for (const auto& [readingKey, reading] : snapshot) {
      if (readingKey != key) continue;
      auto part = std::visit([&](const auto& rows) { return largest(rows, key); }, reading);
      if (part) parts.push_back(*std::move(part));
    }
  }
  for (auto& part : parts) {
    part.text = printableText(part.text);
    part.label = printableText(part.label);
  }
  return parts;
}

template <typename Text>
std::string joined(const std::vector<Part>& parts, std::string_view between, Text text) {
  std::string line;
  for (const auto& part : parts) line += (line.empty() ? "" : std::string(between)) + text(part);
  return line;
}

std::string plainText(const std::vector<Part>& parts) {
  return joined(parts, kBetween, [](const Part& part) { return part.text; });
}

std::string tmuxText(const Part& part) {
  std::string text;
  for (const char c : part.text) text += c == '#' ? std::string("##") : std::string(1, c);
  return part.isHot ? "#[fg=red]" + text + "#[default]" : text;
}

std::string escapedForPango(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else if (c == '>') {
      escaped += "&gt;";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string onOneLine(const Json& object) {
  std::string line = oneLine(object);
  line.pop_back();
  return line;
}

std::string waybarText(const std::vector<Part>& parts, bool hot) {
  const auto tooltip = joined(parts, "\n", [](const Part& part) {
    return part.text.starts_with(part.label) ? part.text : part.label + " " + part.text;
  });
  return onOneLine({{"text", escapedForPango(plainText(parts))},
                    {"tooltip", escapedForPango(tooltip)},
                    {"class", hot ? "hot" : "normal"}});
}

std::string i3blocksText(const std::vector<Part>& parts, bool hot) {
  Json object = {{"full_text", plainText(parts)}, {"short_text", parts.front().text}};
  if (hot) object["color"] = "#FF0000";
  return onOneLine(object);
}

}  // namespace

std::optional<LineFormat> lineFormatNamed(std::string_view name) {
  constexpr std::pair<std::string_view, LineFormat> kFormats[] = {
      {"plain", LineFormat::plain},
      {"tmux", LineFormat::tmux},
      {"waybar", LineFormat::waybar},
      {"i3blocks", LineFormat::i3blocks}};
  for (const auto& [text, format] : kFormats) {
    if (text == name) return format;
  }
  return std::nullopt;
}

std::optional<std::string> widgetLine(const Snapshot& snapshot, LineFormat format) {
  const auto parts = partsOf(snapshot);
  if (parts.empty()) return std::nullopt;
  const bool hot = std::any_of(parts.begin(), parts.end(), [](const Part& p) { return p.isHot; });
  switch (format) {
    case LineFormat::tmux:
      return joined(parts, kBetween, tmuxText);
    case LineFormat::waybar:
      return waybarText(parts, hot);
    case LineFormat::i3blocks:
      return i3blocksText(parts, hot);
    case LineFormat::plain:
      break;
  }
  return plainText(parts);
}

}  // namespace tarvel::viewer
