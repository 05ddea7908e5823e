#include "programs/tarvel/widget_line.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "product/store_keys.h"
#include "programs/tarvel/line_template.h"
#include "programs/tarvel/output.h"
#include "text/printable_text.h"
#include "viewer/display_rows.h"

namespace tarvel::viewer {
namespace {

constexpr std::string_view kSystemPower = "System Total";
constexpr std::string_view kBetween = " · ";

// One thing that the line tells.
struct Part {
  std::string text;   // "71 °C"
  std::string label;  // what it is of
  double number = 0;
  Level level = Level::kNormal;
};

std::string trimmed(const std::string& text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

Part partOf(const ProcessRow& row, std::string_view) {
  const std::string load(column(row, "cpu"));
  const std::string name = trimmed(row.name);
  return {name + " " + load + "%", name, numberOf(load).value_or(-1)};
}

Part partOf(const SensorRow& row, std::string_view key) {
  const double number = row.flag == "0" || row.mayBeOld ? -1 : numberOf(row.value).value_or(-1);
  const auto level = key == kTempValuesKey ? temperatureLevel(number) : Level::kNormal;
  return {row.value + " " + std::string(unitOf(key)), row.name, number, level};
}

Part partOf(const FanRow& row, std::string_view key) {
  const double number = row.flag == "0" || row.mayBeOld ? -1 : numberOf(row.current).value_or(-1);
  return {row.current + " " + std::string(unitOf(key)), row.name, number};
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
    for (const auto& reading : snapshot) {
      if (reading.key != key) continue;
      auto part = std::visit([&](const auto& rows) { return largest(rows, key); }, reading.rows);
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

std::string escapedForTmux(const std::string& text) {
  std::string escaped;
  for (const char c : text) escaped += c == '#' ? std::string("##") : std::string(1, c);
  return escaped;
}

std::string tmuxText(const Part& part) {
  const std::string text = escapedForTmux(part.text);
  return part.level == Level::kHot ? "#[fg=red]" + text + "#[default]" : text;
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

// What a line tells, before it takes the form of its bar.
struct Line {
  std::string text;     // in the bar's own escapes
  std::string shorter;  // where space is short
  std::string tooltip;  // plain
  Level level = Level::kNormal;
  bool isStale = false;
  std::optional<double> load;  // of the processors
};

std::string waybarText(const Line& line) {
  constexpr std::array kClasses = {"normal", "warm", "hot"};
  Json object = {
      {"text", line.text},
      {"tooltip", escapedForPango(line.tooltip)},
      {"class", line.isStale ? "stale" : kClasses[static_cast<std::size_t>(line.level)]}};
  if (line.load) object["percentage"] = std::lround(*line.load * 100);
  return onOneLine(object);
}

std::string i3blocksText(const Line& line) {
  Json object = {{"full_text", line.text}, {"short_text", line.shorter}};
  if (line.isStale) object["color"] = "#888888";
  if (!line.isStale && line.level == Level::kHot) object["color"] = "#FF0000";
  return onOneLine(object);
}

std::string escapedFor(LineFormat format, const std::string& text) {
  if (format == LineFormat::tmux) return escapedForTmux(text);
  return format == LineFormat::waybar ? escapedForPango(text) : text;
}

std::string tooltipOf(const std::vector<Part>& parts) {
  return joined(parts, "\n", [](const Part& part) {
    return part.text.starts_with(part.label) ? part.text : part.label + " " + part.text;
  });
}

Line lineOf(const std::vector<Part>& parts, const Snapshot& snapshot, const MachineTotals& totals,
            const LineOptions& options) {
  Line line;
  line.tooltip = tooltipOf(parts);
  for (const auto& part : parts) line.level = std::max(line.level, part.level);
  line.isStale = std::any_of(snapshot.begin(), snapshot.end(),
                             [](const StoredReading& reading) { return reading.isStale(); });
  if (totals.processors) line.load = totals.processors->busy;
  if (!options.text.empty()) {
    line.text = filledTemplate(options.text, snapshot, totals, [&](const std::string& value) {
      return escapedFor(options.format, value);
    });
    line.shorter = line.text;
  } else {
    line.text = options.format == LineFormat::tmux ? joined(parts, kBetween, tmuxText)
                                                   : escapedFor(options.format, plainText(parts));
    line.shorter = parts.front().text;
  }
  if (line.isStale) line.text += " (stale)";
  return line;
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

std::optional<std::string> widgetLine(const Snapshot& snapshot, const MachineTotals& totals,
                                      const LineOptions& options) {
  const auto parts = partsOf(snapshot);
  if (parts.empty() && options.text.empty()) return std::nullopt;
  const Line line = lineOf(parts, snapshot, totals, options);
  switch (options.format) {
    case LineFormat::waybar:
      return waybarText(line);
    case LineFormat::i3blocks:
      return i3blocksText(line);
    case LineFormat::plain:
    case LineFormat::tmux:
      break;
  }
  return line.text;
}

}  // namespace tarvel::viewer
