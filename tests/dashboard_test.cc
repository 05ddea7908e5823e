#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "product/store_keys.h"
#include "programs/dashboard/graphs.h"
#include "programs/dashboard/layout.h"
#include "programs/dashboard/machine_lines.h"
#include "programs/dashboard/themes.h"
#include "tests/temporary_tree.h"
#include "viewer/display_rows.h"
#include "viewer/history.h"
#include "viewer/process_facts.h"

namespace tarvel::viewer {
namespace {

bool overlap(const Box& a, const Box& b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height &&
         b.top < a.top + a.height;
}

// What is wrong with a layout; empty when nothing is.
std::string faultOf(const Layout& layout, std::size_t count, std::size_t focused, const Box& area) {
  const auto& placed = layout.placed;
  for (std::size_t i = 0; i < placed.size(); ++i) {
    const Box& box = placed[i].box;
    if (box.width < 0 || box.height <= 0) return "no size";
    if (box.top < area.top || box.left < area.left) return "begins outside";
    if (box.top + box.height > area.top + area.height) return "too high";
    if (box.left + box.width > area.left + area.width) return "too wide";
    for (std::size_t k = 0; k < i; ++k) {
      if (overlap(box, placed[k].box)) return "overlap";
      if (placed[i].panel == placed[k].panel) return "placed twice";
    }
  }
  const bool found = std::any_of(placed.begin(), placed.end(),
                                 [&](const PlacedPanel& panel) { return panel.panel == focused; });
  if (!found) return "the focused panel is missing";
  return placed.size() + layout.leftOut.size() == count ? "" : "a panel vanished unannounced";
}

// Whether all rows have their place when the area is lower by that much.
bool showsAllRows(const std::vector<PanelSize>& panels, std::size_t focused, Box area, int less) {
  area.height -= less;
  const auto layout = layOut(panels, focused, area, false);
  return layout.leftOut.empty() &&
         std::all_of(panels.begin(), panels.end(), [&](const PanelSize& panel) {
           return std::any_of(layout.placed.begin(), layout.placed.end(), [&](const auto& placed) {
             return placed.panel == panel.panel && placed.box.height >= panel.rows + 2;
           });
         });
}

TEST(Layout, EverySizeHoldsTheFocusedPanelAndNothingOverlapsOrVanishes) {
  const std::vector<std::vector<PanelSize>> sets = {
      {{0, true, 30},
       {1, true, 30},
       {2, true, 50},
       {3, false, 2},
       {4, false, 12},
       {5, false, 6},
       {6, false, 1},
       {7, false, 0}},
      {{2, true, 30}},
      {{3, false, 0}, {5, false, 200}, {6, false, 3}},
  };
  for (const auto& panels : sets) {
    for (const auto& [focused, isList, rows] : panels) {
      for (int width = 1; width <= 250; ++width) {
        for (int height = 1; height <= 80; ++height) {
          const Box area{1, 0, height, width};
          const auto layout = layOut(panels, focused, area, false);
          ASSERT_EQ(faultOf(layout, panels.size(), focused, area), "")
              << width << "x" << height << ", panel " << focused;
          ASSERT_TRUE(layout.spare == 0 || showsAllRows(panels, focused, area, layout.spare))
              << width << "x" << height << ", panel " << focused;
        }
      }
      const Box area{0, 0, 30, 100};
      const auto zoomed = layOut(panels, focused, area, true);
      ASSERT_EQ(zoomed.placed.size(), 1U);
      EXPECT_EQ(zoomed.placed[0].panel, focused);
      EXPECT_EQ(zoomed.placed[0].box, area);
    }
  }
  EXPECT_TRUE(layOut(sets[0], 0, {0, 0, 0, 80}, false).placed.empty());
  EXPECT_TRUE(layOut({}, 0, {0, 0, 24, 80}, true).placed.empty());
  EXPECT_TRUE(layOut(sets[0], 0, {1, 0, 60, 200}, false).leftOut.empty());
  EXPECT_EQ(layOut(sets[1], 2, {1, 0, 60, 200}, false).spare, 28);
}

TEST(History, ASeriesKeepsItsLatestValuesAndItsExtremesForever) {
  Series series;
  series.add(-5);
  for (int i = 0; i < 300; ++i) series.add(i);
  EXPECT_EQ(series.size(), 200U);
  EXPECT_EQ(series.at(0), 100);
  EXPECT_EQ(series.at(199), 299);
  EXPECT_EQ(series.minimum(), -5);
  EXPECT_EQ(series.maximum(), 299);
}

TEST(History, RowsThatDoNotComeAnyMoreAreForgotten) {
  History history;
  for (int i = 0; i < 80; ++i) {
    history.add("stays", 1);
    if (i == 0) history.add("leaves", 1);
    history.endRefresh();
    if (i == 40) {
      EXPECT_NE(history.of("leaves"), nullptr);
    }
  }
  EXPECT_NE(history.of("stays"), nullptr);
  EXPECT_EQ(history.of("leaves"), nullptr);
}

TEST(History, NumbersAreReadWithTheirUnits) {
  const std::pair<const char*, std::optional<double>> rows[] = {
      {"12.3", 12.3}, {"512K", 524288}, {"2M", 2097152}, {"1.5G", 1610612736}, {"47 °C", 47},
      {"-3", -3},     {"", {}},         {"n/a", {}},     {"inf", {}},
  };
  for (const auto& [text, number] : rows) EXPECT_EQ(numberOf(text), number) << text;
}

TEST(Graphs, TheNewestValueStandsToTheRightAndFixedScalesKeepSmallValuesSmall) {
  Series series;
  EXPECT_EQ(sparkline(series, {}, 3, false), "   ");
  series.add(4);
  EXPECT_EQ(sparkline(series, {}, 3, false), "  _");  // one value has no range
  series.add(11);
  series.add(8);
  EXPECT_EQ(sparkline(series, {}, 5, false), "  _#=");
  EXPECT_EQ(sparkline(series, {}, 2, true), "█▅");
  EXPECT_EQ(sparkline(series, {0, 100}, 3, false), "___");
  EXPECT_EQ(sparkline(series, {0, 100}, -1, true), "");
  // Two values a column: the left dots are the older one. A value that is there has a dot.
  EXPECT_EQ(graphLines(series, {0, 8}, 2, 2, false), (std::vector<std::string>{"##", "##"}));
  EXPECT_EQ(graphLines(series, {0, 12}, 3, 2, false), (std::vector<std::string>{" # ", "###"}));
  EXPECT_EQ(graphLines(series, {0, 16}, 2, 1, true), (std::vector<std::string>{"⢀⣦"}));
}

double luminance(int colour) {
  const auto level = [](int index) { return index == 0 ? 0 : 55 + index * 40; };  // of xterm's cube
  const int grey = 8 + 10 * (colour - 232);
  const int cube = colour - 16;
  const int red = colour >= 232 ? grey : level(cube / 36);
  const int green = colour >= 232 ? grey : level(cube / 6 % 6);
  const int blue = colour >= 232 ? grey : level(cube % 6);
  const auto linear = [](int value) {
    const double share = value / 255.0;
    return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(red) + 0.7152 * linear(green) + 0.0722 * linear(blue);
}

TEST(Themes, EveryColourStandsOutFromItsBackground) {
  for (const auto& theme : kThemes) {
    const double background = luminance(theme.background);
    for (const auto& ink : theme.inks) {
      if (ink.rich < 0) continue;
      const double colour = luminance(ink.rich);
      const double contrast =
          (std::max(colour, background) + 0.05) / (std::min(colour, background) + 0.05);
      EXPECT_GE(contrast, 4.5) << theme.name << ", colour " << ink.rich;
      EXPECT_GE(ink.rich, 16) << "the terminal's owner chooses the first sixteen";
    }
  }
  EXPECT_EQ(themeNamed("light").name, "light");
  EXPECT_EQ(themeNamed("no such").name, "dark");
  EXPECT_EQ(nextTheme(themeNamed("mono")).name, "dark");
}

std::string textOf(const std::vector<MachineLine>& lines) {
  std::string text;
  for (const auto& line : lines) {
    for (const auto& piece : line) text += piece.label + " " + piece.text + "|";
    text += "\n";
  }
  return text;
}

TEST(MachineLines, TheMostImportantStaysWhereThereIsLittleRoom) {
  MachineTotals totals;
  totals.uptime = std::chrono::hours(76);
  EXPECT_EQ(textOf(machineLines(totals, 80)), "up 3d 4h|\n");
  totals.processors = Processors{0.925, {}};
  totals.load = Load{1, 2, 3.456};
  totals.memory = Memory{8ULL << 30, 2ULL << 30, 1ULL << 30, 4ULL << 30, 3ULL << 30};
  totals.disks = Traffic{1.5 * 1024 * 1024, 300 * 1024};
  totals.battery = Battery{0.04, Battery::State::kDischarging, std::chrono::minutes(65)};
  totals.nearlyFull = {{"/", 0.98, 1ULL << 29, 1ULL << 36}};
  const auto lines = machineLines(totals, 80);
  EXPECT_EQ(textOf(lines),
            "CPU 92%|load 1.00 2.00 3.46|battery 4% 1:05 left|up 3d 4h|\n"
            "Mem 25% 2.0G of 8.0G|swap 3.0G of 4.0G|cache 1.0G|\n"
            "Disk 1.5M/s read, 300K/s written|\n"
            "nearly full: / 98% (512M left)|\n");
  EXPECT_EQ(lines[0][0].level, Level::kHot);
  EXPECT_EQ(lines[0][2].level, Level::kHot);
  EXPECT_EQ(lines[1][1].level, Level::kWarm);
  EXPECT_EQ(textOf(machineLines(totals, 30)).substr(0, 8), "CPU 92%|");
}

ProcessRow process(std::int32_t pid, const char* name, const char* cpu, const char* icon) {
  return {pid, name, {{"cpu", cpu}}, icon};
}

const ProcessFacts* factsOf(std::int32_t pid) {
  static const std::map<std::int32_t, ProcessFacts> facts = [] {
    std::map<std::int32_t, ProcessFacts> known;
    const auto add = [&](std::int32_t id, std::int32_t parent, const char* program,
                         const char* command, const char* user) {
      known[id].parent = parent;
      known[id].program = program;
      known[id].command = command;
      known[id].user = user;
    };
    add(2, 1, "bash", "bash -l", "ada");
    add(7, 2, "gnome-terminal-server", "/usr/libexec/gnome-terminal-server", "ada");
    add(8, 7, "web", "web --page news", "bob");
    add(9, 8, "cc1", "cc1 sort.c", "bob");
    return known;
  }();
  const auto found = facts.find(pid);
  return found != facts.end() ? &found->second : nullptr;
}

// The rows as "name value", one ">" for each level of the tree, hidden ones in brackets.
std::vector<std::string> shown(std::string_view key, const Reading& reading,
                               const Choices& choices) {
  std::vector<std::string> lines;
  for (const auto& row : displayRows(key, reading, choices, factsOf)) {
    const std::string line =
        std::string(static_cast<std::size_t>(row.depth), '>') + row.name + " " + row.value;
    lines.push_back(row.isHidden ? "(" + line + ")" : line);
  }
  return lines;
}

TEST(Facts, TrafficIsARateOnceThereAreTwoLooksAtTheSameProcess) {
  const TemporaryTree tree;
  const auto write = [&](const char* start, int read) {
    tree.write("7/stat", std::string("7 (a) b) S 1 1 1 0 -1 0 0 0 0 0 1 1 0 0 20 0 3 0 ") + start);
    tree.write("7/io", "rchar: 5\nread_bytes: " + std::to_string(read) + "\nwrite_bytes: 4096\n");
  };
  ProcessFactsReader reader(tree.path());
  write("100", 1000);
  EXPECT_FALSE(reader.ratesOf(7));
  reader.endRefresh();
  write("100", 900000);
  ASSERT_TRUE(reader.ratesOf(7));
  EXPECT_GT(reader.ratesOf(7)->bytesRead, 0);
  EXPECT_EQ(reader.ratesOf(7)->bytesWritten, 0);
  reader.endRefresh();
  write("200", 950000);  // the id was given anew
  EXPECT_FALSE(reader.ratesOf(7));
  reader.endRefresh();
  EXPECT_FALSE(reader.ratesOf(8));
}

TEST(Rows, ProcessesAreGroupedFilteredAndOrderedAsChosen) {
  const Reading list = std::vector<ProcessRow>{
      process(9, "cc1  ", "50.0", "unknown"), process(7, "Web Content ", "30.5", "org.web.tiff"),
      process(8, "web  ", "25.0", "org.web.tiff"), process(2, "bash  ", "1.0", "unknown")};
  const auto choose = [](Order order, const char* filter, bool grouped) {
    Choices choices;
    choices.order = order;
    choices.filter = filter;
    choices.isGrouped = grouped;
    return choices;
  };
  using Lines = std::vector<std::string>;
  Choices tree;
  tree.isTree = true;
  Choices elsewhere = choose(Order::kListed, "bash", false);
  elsewhere.filteredPanel = kMEMAppUsageKey;
  const std::pair<Choices, Lines> rows[] = {
      {choose(Order::kListed, "", false),
       {"cc1 50.0%", "Web Content 30.5%", "web 25.0%", "bash 1.0%"}},
      {choose(Order::kListed, "WEB", false), {"Web Content 30.5%", "web 25.0%"}},
      {choose(Order::kPid, "", false),
       {"bash 1.0%", "Web Content 30.5%", "web 25.0%", "cc1 50.0%"}},
      {choose(Order::kName, "", false),
       {"bash 1.0%", "cc1 50.0%", "web 25.0%", "Web Content 30.5%"}},
      {choose(Order::kListed, "", true), {"org.web (2) 55.5%", "cc1 50.0%", "bash 1.0%"}},
      {choose(Order::kListed, "news", false), {"web 25.0%"}},                      // a command line
      {choose(Order::kListed, "ADA", false), {"Web Content 30.5%", "bash 1.0%"}},  // a user
      {choose(Order::kListed, "org.w", false), {"Web Content 30.5%", "web 25.0%"}},
      {tree, {"bash 1.0%", ">Web Content 30.5%", ">>web 25.0%", ">>>cc1 50.0%"}},
      {elsewhere, {"cc1 50.0%", "Web Content 30.5%", "web 25.0%", "bash 1.0%"}},
  };
  for (const auto& [choices, lines] : rows) EXPECT_EQ(shown(kCPUAppUsageKey, list, choices), lines);
}

TEST(Rows, NamesThatTheKernelCutAreWholeAndOthersStay) {
  const Reading list = std::vector<ProcessRow>{process(7, "gnome-terminal- ", "1.0", "unknown"),
                                               process(9, "exactly-fifteen ", "1.0", "unknown")};
  EXPECT_EQ(shown(kCPUAppUsageKey, list, {}),
            (std::vector<std::string>{"gnome-terminal-server 1.0%", "exactly-fifteen 1.0%"}));
}

TEST(Rows, SensorsOfOneNameHaveHistoriesOfTheirOwnAndHiddenOnesComeWhenAskedFor) {
  const Reading sensors = std::vector<SensorRow>{
      {"GPU Diode", "30", "1"}, {"GPU Diode", "95", "0", true}, {"Ambient", "80", "1"}};
  Choices all;
  all.showsHidden = true;
  EXPECT_EQ(shown(kTempValuesKey, sensors, {}),
            (std::vector<std::string>{"GPU Diode 30 °C", "Ambient 80 °C"}));
  const auto rows = displayRows(kTempValuesKey, sensors, all, factsOf);
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_NE(rows[0].id, rows[1].id);
  EXPECT_EQ(rows[0].level, Level::kNormal);
  EXPECT_EQ(rows[1].level, Level::kHot);
  EXPECT_EQ(rows[2].level, Level::kWarm);
  EXPECT_EQ(rows[0].place, 0U);
  EXPECT_EQ(rows[1].name, "GPU Diode (may be old)");
  EXPECT_EQ(rows[1].place, 1U);
  all.isFahrenheit = true;
  all.showsHidden = false;
  all.aliases[{std::string(kTempValuesKey), "Ambient"}] = "Room";
  EXPECT_EQ(shown(kTempValuesKey, sensors, all),
            (std::vector<std::string>{"GPU Diode 86 °F", "Room 176 °F"}));
}

}  // namespace
}  // namespace tarvel::viewer
