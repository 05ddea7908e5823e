#include "programs/dashboard/painter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "programs/dashboard/sparkline.h"
#include "viewer/display_rows.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

constexpr int kValueWidth = 10;
constexpr int kPidWidth = 8;
constexpr int kRangeWidth = 20;  // of "least to largest" beside a sensor

constexpr std::array<std::string_view, 17> kHelp = {
    "1 to 8      switch a panel on or off",
    "Tab         next panel (Shift-Tab: the one before)",
    "arrows, j k select a row (Page Up, Page Down, Home, End)",
    "Enter       details of the row",
    "s           order as listed, by value, name, process id",
    "/           show only names that contain a text",
    "g           processes of one application as one row",
    "h           hide the sensor, or show it again",
    "H           show hidden sensors as well",
    "f, blank    freeze the picture",
    "r           redraw",
    "?           this help",
    "q           quit",
    "",
    "* marks applications. Bars: share of one core, of the largest,",
    "of 100 degrees, of a fan's range. Lines: the last two minutes.",
    "Panels: 1 cpu 2 memory 3 energy 4 fans 5 temperatures 6 volts 7 W 8 A"};

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

std::string formatted(const char* format, double value) {
  char text[48];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string title(const Model& model, std::size_t panel) {
  const auto& view = model.panels()[panel];
  std::string text(panelTitle(view.name));
  const auto& choices = model.choices;
  if (view.isList && choices.isGrouped) text += " by application";
  if (choices.order == Order::kValue) text += ", largest first";
  if (choices.order == Order::kName) text += ", by name";
  if (choices.order == Order::kPid && view.isList) text += ", by id";
  if (!choices.filter.empty()) text += " ~" + choices.filter;
  return text;
}

// From the right: value, bar, history; the rest is for the name.
void paintListRow(Screen& screen, const Model& model, const DisplayRow& row, int line, Box box,
                  Ink nameInk) {
  int right = box.left + box.width;
  right -= kValueWidth;
  screen.put(line, right, kValueWidth, rightAligned(row.value, kValueWidth), inkOf(row.level));
  if (box.width >= 46) {
    const int bar = std::min(box.width / 8, 16);
    right -= bar + 1;
    screen.put(line, right, bar, barText(row.share, bar, screen.isUnicode()), inkOf(row.level));
  }
  const Series* series = model.history().of(row.id);
  if (box.width >= 60 && series != nullptr) {
    const int width = std::min(box.width / 6, 20);
    right -= width + 1;
    screen.put(line, right, width, sparkline(*series, width, screen.isUnicode()), Ink::kDim);
  }
  int left = box.left;
  screen.put(line, left, kPidWidth, rightAligned(std::to_string(row.pid), kPidWidth - 1),
             Ink::kDim);
  left += kPidWidth;
  screen.put(line, left, 2, row.isApplication ? "* " : "  ", Ink::kMark);
  left += 2;
  left += screen.put(line, left, right - left - 1, row.name, nameInk) + 2;
  if (right - left > 8 && !row.note.empty() && row.note != row.name) {
    screen.put(line, left, right - left - 1, row.note, Ink::kDim);
  }
}

std::string rangeText(const DisplayRow& row, const Series& series) {
  const bool whole = row.value.find('.') == std::string::npos;
  const char* format = whole ? "%.0f" : "%.2f";
  return formatted(format, series.minimum()) + " to " + formatted(format, series.maximum());
}

void paintSensorRow(Screen& screen, const Model& model, const DisplayRow& row, int line, Box box,
                    Ink nameInk) {
  int right = box.left + box.width;
  const Series* series = model.history().of(row.id);
  if (box.width >= 64) {
    right -= kRangeWidth;
    const std::string text =
        !row.note.empty() ? row.note : (series != nullptr ? rangeText(row, *series) : "");
    screen.put(line, right, kRangeWidth, rightAligned(text, kRangeWidth), Ink::kDim);
  }
  right -= kValueWidth;
  screen.put(line, right, kValueWidth, rightAligned(row.value, kValueWidth), inkOf(row.level));
  if (box.width >= 40 && series != nullptr) {
    const int width = std::min(box.width / 5, 20);
    right -= width + 1;
    screen.put(line, right, width, sparkline(*series, width, screen.isUnicode()), Ink::kDim);
  }
  const std::string name = row.isHidden ? "(" + row.name + ")" : row.name;
  screen.put(line, box.left, right - box.left - 1, name, row.isHidden ? Ink::kDim : nameInk);
}

void paintPanel(Screen& screen, const Model& model, const PlacedPanel& placed,
                const Cursor& cursor) {
  const auto& view = model.panels()[placed.panel];
  const bool focused = placed.panel == cursor.panel;
  screen.frame(placed.box, title(model, placed.panel), focused ? Ink::kFocus : Ink::kTitle);
  const Box inner = {placed.box.top + 1, placed.box.left + 2, placed.box.height - 2,
                     placed.box.width - 4};
  if (view.rows.empty()) {
    screen.put(inner.top, inner.left, inner.width, view.emptyReason, Ink::kDim);
    return;
  }
  const std::size_t first = focused ? firstShownRow(cursor.row, inner.height) : 0;
  for (int line = 0; line < inner.height; ++line) {
    const std::size_t index = first + static_cast<std::size_t>(line);
    if (index >= view.rows.size()) break;
    const bool selected = focused && index == cursor.row;
    const auto paintRow = view.isList ? paintListRow : paintSensorRow;
    paintRow(screen, model, view.rows[index], inner.top + line, inner,
             selected ? Ink::kSelected : Ink::kPlain);
  }
}

void paintStatus(Screen& screen, const Model& model, const Cursor& cursor,
                 Model::Clock::time_point now) {
  const Box area = screen.area();
  const int line = area.height - 1;
  int left = 0;
  const auto say = [&](const std::string& text, Ink ink) {
    left += screen.put(line, left, area.width - left, text, ink);
  };
  if (cursor.overlay == Overlay::kFilter) return say("/" + model.choices.filter + "_", Ink::kFocus);
  if (!cursor.message.empty()) return say(cursor.message, Ink::kWarm);
  const auto& helper = model.helper();
  if (!helper) {
    say(" the helper does not run ", Ink::kHot);
  } else {
    say(" helper ", Ink::kDim);
    if (helper->millisecondsACycle) {
      say(formatted("%.1f ms of processor time a cycle, ", *helper->millisecondsACycle),
          Ink::kPlain);
    }
    say(formatted("%.1f MB ", static_cast<double>(helper->residentKilobytes) / 1024), Ink::kPlain);
  }
  if (const auto stale = model.staleFor(now)) {
    say(" readings are " + std::to_string(stale->count()) + " s old ", Ink::kWarm);
  }
  if (model.choices.isFrozen) say(" frozen ", Ink::kWarm);
  constexpr std::string_view keys = "? help  q quit ";
  const int rest = area.width - static_cast<int>(keys.size());
  if (rest > left) screen.put(line, rest, area.width - rest, keys, Ink::kDim);
}

void paintOverlay(Screen& screen, const std::string& heading,
                  const std::vector<std::string>& lines) {
  const Box area = screen.area();
  std::size_t widest = heading.size() + 4;
  for (const auto& line : lines) widest = std::max(widest, line.size());
  const int width = std::min(static_cast<int>(widest) + 4, area.width);
  const int height = std::min(static_cast<int>(lines.size()) + 2, area.height - 1);
  const Box box = {(area.height - height) / 2, (area.width - width) / 2, height, width};
  for (int row = box.top; row < box.top + height; ++row) {
    screen.put(row, box.left, width, std::string(static_cast<std::size_t>(width), ' '),
               Ink::kPlain);
  }
  screen.frame(box, heading, Ink::kFocus);
  for (int i = 0; i < height - 2; ++i) {
    screen.put(box.top + 1 + i, box.left + 2, width - 4, lines[static_cast<std::size_t>(i)],
               Ink::kPlain);
  }
}

std::string commandLine(std::int32_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline", std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  while (text.ends_with('\0')) text.pop_back();
  std::replace(text.begin(), text.end(), '\0', ' ');
  return text;
}

void paintDetails(Screen& screen, const Model& model, const Cursor& cursor) {
  const auto& view = model.panels()[cursor.panel];
  if (cursor.row >= view.rows.size()) return;
  const auto& row = view.rows[cursor.row];
  std::vector<std::string> lines = {"now       " + row.value};
  if (const auto* series = model.history().of(row.id)) {
    lines.push_back("least     " + textLike(row.value, series->minimum()));
    lines.push_back("largest   " + textLike(row.value, series->maximum()));
  }
  if (!row.note.empty()) lines.push_back((view.isList ? "belongs   " : "range     ") + row.note);
  if (row.pid > 0) {
    lines.push_back("process   " + std::to_string(row.pid));
    lines.push_back("command   " + commandLine(row.pid));
  }
  if (!view.isList) lines.push_back(row.isHidden ? "hidden    yes" : "hidden    no");
  paintOverlay(screen, row.name, lines);
}

}  // namespace

std::size_t firstShownRow(std::size_t selected, int height) {
  const auto shown = static_cast<std::size_t>(std::max(height, 1));
  return selected < shown ? 0 : selected - shown + 1;
}

std::vector<PlacedPanel> paint(Screen& screen, const Model& model, const Cursor& cursor,
                               Model::Clock::time_point now) {
  screen.begin();
  const Box area = screen.area();
  std::vector<PanelSize> sizes;
  for (const auto& view : model.panels()) {
    sizes.push_back({view.isList, static_cast<int>(std::max<std::size_t>(view.rows.size(), 1))});
  }
  const auto placed = layOut(sizes, cursor.panel, {0, 0, area.height - 1, area.width});
  for (const auto& panel : placed) paintPanel(screen, model, panel, cursor);
  if (placed.empty())
    screen.put(0, 0, area.width, "No panel is on: 1 to 8 switch one on.", Ink::kDim);
  paintStatus(screen, model, cursor, now);
  if (cursor.overlay == Overlay::kHelp) paintOverlay(screen, "Help", {kHelp.begin(), kHelp.end()});
  if (cursor.overlay == Overlay::kDetails && !model.panels().empty()) {
    paintDetails(screen, model, cursor);
  }
  screen.end();
  return placed;
}

}  // namespace tarvel::viewer
