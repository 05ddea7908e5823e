#include "programs/dashboard/row_painter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include <unistd.h>

#include "programs/dashboard/graphs.h"
#include "viewer/machine/amounts.h"

namespace tarvel::viewer {
namespace {

constexpr int kValueWidth = 10;
constexpr int kPidWidth = 8;
constexpr int kUserWidth = 9;
constexpr int kStateWidth = 2;
constexpr int kThreadsWidth = 5;
constexpr int kStartWidth = 6;
constexpr int kRateWidth = 7;
constexpr int kRangeWidth = 16;  // "least to largest" beside a sensor

// How the width of a list is shared out: the columns that fit, the widest screens showing all of
// them.
struct ListColumns {
  bool user = false;
  bool state = false;
  bool start = false;
  bool rates = false;
  int graph = 0;  // columns; 0: none
  int bar = 0;
};

ListColumns columnsFor(int width, bool showsColumns) {
  ListColumns columns;
  if (width >= 44) columns.bar = std::clamp(width / 10, 4, 12);
  if (width >= 58) columns.graph = std::clamp(width / 8, 6, 24);
  columns.user = showsColumns && width >= 70;
  columns.state = showsColumns && width >= 84;
  columns.start = showsColumns && width >= 92;
  columns.rates = showsColumns && width >= 128;
  return columns;
}

std::string formatted(const char* format, double value) {
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

// The time of day for what began today or less than half a day ago, else the day.
std::string startText(const ProcessFacts& facts) {
  timespec sinceBoot{};
  ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
  const auto age = sinceBoot.tv_sec - static_cast<time_t>(facts.startTime) / ::sysconf(_SC_CLK_TCK);
  const time_t now = std::time(nullptr);
  const time_t start = now - age;
  tm today{};
  tm then{};
  ::localtime_r(&now, &today);
  ::localtime_r(&start, &then);
  constexpr time_t kHalfDay = 12L * 60 * 60;
  const bool isToday = today.tm_yday == then.tm_yday && today.tm_year == then.tm_year;
  std::array<char, 16> text{};
  std::strftime(text.data(), text.size(), isToday || age < kHalfDay ? "%H:%M" : "%b%d", &then);
  return text.data();
}

std::string rangeText(const DisplayRow& row, const Series& series) {
  const bool isWhole = row.value.find('.') == std::string::npos;
  const char* format = isWhole ? "%.0f" : "%.2f";
  return formatted(format, series.minimum()) + " to " + formatted(format, series.maximum());
}

std::string_view valueHead(std::string_view key) {
  if (key == kCPUAppUsageKey) return "CPU";
  return key == kMEMAppUsageKey ? "MEMORY" : "IMPACT";
}

// What /proc tells of the row's process, in the columns that fit. Returns where the next column
// begins.
int paintFacts(Screen& screen, Model& model, const DisplayRow& row, Box line,
               const ListColumns& columns) {
  const ProcessFacts* facts = columns.user ? model.facts(row.pid) : nullptr;
  int left = line.left;
  const auto column = [&](const std::string& text, int width) {
    screen.put(line.top, left, width - 1, text, Ink::kDim);
    left += width;
  };
  column(rightAligned(std::to_string(row.pid), kPidWidth - 1), kPidWidth);
  if (columns.user) column(facts != nullptr ? facts->user : row.user, kUserWidth);
  if (columns.state) {
    const std::string threads = facts != nullptr ? std::to_string(facts->threads) : "";
    column(facts != nullptr ? std::string(1, facts->state) : "", kStateWidth);
    column(rightAligned(threads, kThreadsWidth - 1), kThreadsWidth);
  }
  if (columns.start) column(facts != nullptr ? startText(*facts) : "", kStartWidth);
  if (columns.rates) {
    const auto rates = model.rates(row.pid);
    for (const auto rate : {&ProcessRates::bytesRead, &ProcessRates::bytesWritten}) {
      column(rightAligned(rates ? bytesText((*rates).*rate) : "", kRateWidth - 1), kRateWidth);
    }
  }
  return left;
}

}  // namespace

Ink inkOf(Level level) {
  if (level == Level::kHot) return Ink::kHot;
  return level == Level::kWarm ? Ink::kWarm : Ink::kGood;
}

std::string rightAligned(const std::string& text, int width) {
  const auto columns = static_cast<std::size_t>(std::max(width, 0));
  std::size_t characters = 0;
  for (const char c : text) characters += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
  return std::string(characters < columns ? columns - characters : 0, ' ') + text;
}

std::vector<Picture::Head> paintHeads(Screen& screen, const PanelView& panel, Box line,
                                      const Choices& choices, bool showsColumns) {
  const auto columns = columnsFor(line.width, showsColumns);
  std::vector<Picture::Head> heads;
  int left = line.left;
  const auto head = [&](const std::string& text, int width, std::optional<Order> order) {
    const bool isChosen = order && choices.order == *order;
    screen.put(line.top, left, width, text, isChosen ? Ink::kFocus : Ink::kDim);
    if (order) heads.push_back({{line.top, left, 1, width}, *order});
    left += width;
  };
  head(rightAligned("PID", kPidWidth - 1) + " ", kPidWidth, Order::kPid);
  if (columns.user) head("USER", kUserWidth, std::nullopt);
  if (columns.state) {
    head("S", kStateWidth, std::nullopt);
    head(rightAligned("THR", kThreadsWidth - 1), kThreadsWidth, std::nullopt);
  }
  if (columns.start) head("START", kStartWidth, std::nullopt);
  if (columns.rates) {
    head(rightAligned("READ/S", kRateWidth - 1), kRateWidth, std::nullopt);
    head(rightAligned("WRIT/S", kRateWidth - 1), kRateWidth, std::nullopt);
  }
  const int right = line.left + line.width - kValueWidth;
  head("  NAME", right - left, Order::kName);
  head(rightAligned(std::string(valueHead(panel.key)), kValueWidth), kValueWidth, Order::kValue);
  return heads;
}

// From the right: value, bar, graph; from the left: what /proc tells. The rest is for the name and,
// dim behind it, the command line or the application.
void paintListRow(Screen& screen, Model& model, const DisplayRow& row, Box line, bool showsColumns,
                  Ink ink) {
  const auto columns = columnsFor(line.width, showsColumns);
  int right = line.left + line.width - kValueWidth;
  screen.put(line.top, right, kValueWidth, rightAligned(row.value, kValueWidth), inkOf(row.level));
  if (columns.bar > 0) {
    right -= columns.bar + 1;
    screen.put(line.top, right, columns.bar, barText(row.share, columns.bar, screen.isUnicode()),
               inkOf(row.level));
  }
  const Series* series = model.history().of(row.id);
  if (columns.graph > 0) {
    right -= columns.graph + 1;
    if (series != nullptr) {
      screen.put(line.top, right, columns.graph,
                 sparkline(*series, row.scale, columns.graph, screen.isUnicode()), Ink::kDim);
    }
  }
  int left = paintFacts(screen, model, row, line, columns);
  left += screen.put(line.top, left, 2, row.isApplication ? "* " : "  ", Ink::kMark);
  left += std::min(row.depth * 2, std::max((right - left) / 2, 0));
  left += screen.put(line.top, left, right - left - 1, row.name, ink) + 2;
  const ProcessFacts* facts = columns.user ? model.facts(row.pid) : nullptr;
  const std::string& rest =
      facts != nullptr && facts->command.size() > row.name.size() ? facts->command : row.note;
  if (right - left > 8 && !rest.empty() && rest != row.name) {
    screen.put(line.top, left, right - left - 1, rest, Ink::kDim);
  }
}

void paintSensorRow(Screen& screen, const Model& model, const DisplayRow& row,
                    const std::string& source, Box line, Ink ink) {
  int right = line.left + line.width;
  const Series* series = model.history().of(row.id);
  // Volts and amperes have no natural scale: their own range stands beside the graph.
  const bool needsRange = row.scale.to <= row.scale.from;
  if (line.width >= (needsRange ? 56 : 64)) {
    right -= kRangeWidth;
    const std::string text =
        !row.note.empty() ? row.note : (series != nullptr ? rangeText(row, *series) : "");
    screen.put(line.top, right, kRangeWidth, rightAligned(text, kRangeWidth), Ink::kDim);
  }
  right -= kValueWidth;
  screen.put(line.top, right, kValueWidth, rightAligned(row.value, kValueWidth), inkOf(row.level));
  if (line.width >= 44 && series != nullptr) {
    const int width = std::clamp(line.width / 5, 6, 24);
    right -= width + 1;
    screen.put(line.top, right, width, sparkline(*series, row.scale, width, screen.isUnicode()),
               Ink::kDim);
  }
  const std::string name = row.isHidden ? "(" + row.name + ")" : row.name;
  const int left =
      line.left + 2 +
      screen.put(line.top, line.left, right - line.left - 1, name, row.isHidden ? Ink::kDim : ink);
  if (right - left > 6) screen.put(line.top, left, right - left - 1, source, Ink::kDim);
}

}  // namespace tarvel::viewer
