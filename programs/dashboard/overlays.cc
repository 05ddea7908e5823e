#include "programs/dashboard/overlays.h"

#include <algorithm>
#include <csignal>
#include <ctime>

#include <unistd.h>

#include "programs/dashboard/graphs.h"
#include "viewer/machine/amounts.h"
#include "viewer/panels.h"

namespace tarvel::viewer {

const std::array<MenuSignal, kMenuSignalCount> kMenuSignals = {{
    {'t', SIGTERM, "TERM", "ask it to end"},
    {'i', SIGINT, "INT", "as Ctrl-C does"},
    {'h', SIGHUP, "HUP", "hang up, or reload"},
    {'s', SIGSTOP, "STOP", "pause it"},
    {'c', SIGCONT, "CONT", "continue it"},
    {'k', SIGKILL, "KILL", "end it at once"},
}};

namespace {

constexpr std::array<std::string_view, 25> kHelp = {
    "Tab, Shift-Tab   next panel, previous panel",
    "arrows, j k      select a row (Page Up, Page Down, Home, End)",
    "Enter            details of the row",
    "z                zoom the panel",
    "1 to 8           hide a panel, or show it again",
    "",
    "s                sort: as listed, by value, name, process id",
    "/  \\             filter all panels, or this one alone",
    "g  t             group by application, tree",
    "w                more columns: user, state, threads, start, disk, command",
    "x  n             send a signal, change the priority",
    "",
    "h  H             hide the sensor, show hidden sensors",
    "u                Celsius or Fahrenheit",
    "i                interval of the totals: 1, 2, 3, 5 s",
    "T                theme: dark, light, mono",
    "f, Space         freeze",
    "r                redraw",
    "q                quit",
    "",
    "* marks applications. Scales are fixed: a bar is full at one core,",
    "at the largest of the list, at 100 degrees, at a fan's maximum;",
    "volts and amperes have their own range, with its figures beside.",
    "Graphs of rows reach back ten minutes.",
    "What is chosen here is kept for the next time."};

void paintBox(Screen& screen, const std::string& heading, const std::vector<std::string>& lines) {
  const Box area = screen.area();
  std::size_t widest = heading.size() + 4;
  for (const auto& line : lines) widest = std::max(widest, line.size());
  const int width = std::min(static_cast<int>(std::min<std::size_t>(widest, 500)) + 4, area.width);
  const int height = std::min(static_cast<int>(lines.size()) + 2, area.height - 1);
  const Box box = {(area.height - height) / 2, (area.width - width) / 2, height, width};
  const std::string blank(static_cast<std::size_t>(width), ' ');
  for (int row = box.top; row < box.top + height; ++row) {
    screen.put(row, box.left, width, blank, Ink::kPlain);
  }
  const bool isCut = static_cast<int>(lines.size()) > height - 2;
  screen.frame(box, heading, Ink::kFocus, isCut ? "the screen is too low for the rest" : "");
  for (int i = 0; i < height - 2; ++i) {
    screen.put(box.top + 1 + i, box.left + 2, width - 4, lines[static_cast<std::size_t>(i)],
               Ink::kPlain);
  }
}

std::string runningFor(const ProcessFacts& facts) {
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  const long since = static_cast<long>(facts.startTime) / ::sysconf(_SC_CLK_TCK);
  return durationText(std::chrono::seconds(std::max(0L, time.tv_sec - since)));
}

// Long command lines go over several lines of the box.
void addWrapped(std::vector<std::string>& lines, const std::string& text, std::size_t width) {
  constexpr std::size_t kMostLines = 8;
  std::string label = "command   ";
  for (std::size_t at = 0; at < text.size() && at < kMostLines * width; at += width) {
    lines.push_back(label + text.substr(at, width));
    label.assign(label.size(), ' ');
  }
}

void addProcess(std::vector<std::string>& lines, const DisplayRow& row, Model& model,
                std::size_t width) {
  lines.push_back("process   " + std::to_string(row.pid));
  const auto* facts = model.facts(row.pid);
  if (facts == nullptr) {
    lines.emplace_back("state     has ended");
    return;
  }
  lines.push_back("user      " + facts->user);
  lines.push_back("parent    " + std::to_string(facts->parent));
  lines.push_back("state     " + std::string(1, facts->state) + ", " +
                  std::to_string(facts->threads) + " threads, nice " + std::to_string(facts->nice));
  lines.push_back("running   " + runningFor(*facts));
  if (const auto traffic = readTraffic(row.pid)) {
    lines.push_back("disk      " + bytesText(static_cast<double>(traffic->bytesRead)) + " read, " +
                    bytesText(static_cast<double>(traffic->bytesWritten)) + " written");
  }
  if (!facts->command.empty()) addWrapped(lines, facts->command, width);
}

void paintDetails(Screen& screen, Model& model, const Cursor& cursor) {
  const auto& row = cursor.detailed;
  const auto& view = model.panels()[cursor.panel];
  const bool isThere = std::any_of(view.rows.begin(), view.rows.end(),
                                   [&](const DisplayRow& each) { return each.id == row.id; });
  std::vector<std::string> lines = {"now       " + (isThere ? row.value : "not listed any more")};
  if (const auto* series = model.history().of(row.id)) {
    lines.push_back("lowest    " + textLike(row.value, series->minimum()));
    lines.push_back("highest   " + textLike(row.value, series->maximum()));
  }
  if (!row.note.empty()) {
    lines.push_back((view.isList ? "belongs   " : "range     ") + row.note);
  }
  const auto width = static_cast<std::size_t>(std::max(screen.area().width - 20, 20));
  if (row.pid > 0) addProcess(lines, row, model, width);
  if (!view.isList) {
    if (row.sensor != row.name) lines.push_back("sensor    " + row.sensor);
    if (const auto source = cursor.sources.of(shortName(view.name), row.sensor, row.place)) {
      lines.push_back("from      " + source->chip);
      lines.push_back("file      " + source->file);
      if (!source->model.empty()) lines.push_back("drive     " + source->model);
    }
    lines.push_back(row.isHidden ? "hidden    yes" : "hidden    no");
  }
  paintBox(screen, row.name, lines);
}

void paintSignals(Screen& screen, const Cursor& cursor) {
  std::vector<std::string> lines;
  for (const auto& entry : kMenuSignals) {
    const std::string name(entry.name);
    lines.push_back(std::string(1, entry.key) + "  " + name + std::string(6 - name.size(), ' ') +
                    std::string(entry.meaning));
  }
  lines.emplace_back("Esc  nothing");
  const std::string pid = cursor.target ? std::to_string(cursor.target->pid()) : "";
  const bool hasEnded = cursor.target && cursor.target->hasEnded();
  paintBox(screen, "Signal to " + pid + " " + cursor.targetName + (hasEnded ? " (has ended)" : ""),
           lines);
}

}  // namespace

std::string promptText(const Model& model, const Cursor& cursor) {
  if (cursor.overlay == Overlay::kFilter) {
    const bool isOne = !model.choices.filteredPanel.empty();
    return (isOne ? "filter this panel: " : "filter: ") + model.choices.filter + "_";
  }
  if (cursor.overlay == Overlay::kNice) {
    return "nice of " + cursor.targetName + ", -20 to 19: " + cursor.input + "_";
  }
  return {};
}

void paintOverlay(Screen& screen, Model& model, const Cursor& cursor) {
  switch (cursor.overlay) {
    case Overlay::kHelp:
      return paintBox(screen, "Help", {kHelp.begin(), kHelp.end()});
    case Overlay::kDetails:
      return paintDetails(screen, model, cursor);
    case Overlay::kSignal:
      return paintSignals(screen, cursor);
    case Overlay::kNone:
    case Overlay::kFilter:
    case Overlay::kNice:
      break;
  }
}

}  // namespace tarvel::viewer
