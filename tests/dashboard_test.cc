#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "product/store_keys.h"
#include "programs/dashboard/layout.h"
#include "programs/dashboard/sparkline.h"
#include "viewer/display_rows.h"
#include "viewer/history.h"

namespace tarvel::viewer {
namespace {

bool overlap(const Box& a, const Box& b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height &&
         b.top < a.top + a.height;
}

// What is wrong with a layout; empty when nothing is.
std::string faultOf(const std::vector<PlacedPanel>& placed, std::size_t focused, const Box& area) {
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
  return found ? "" : "the focused panel is missing";
}

TEST(Layout, EverySizeHoldsTheFocusedPanelAndNothingOverlaps) {
  const std::vector<std::vector<PanelSize>> sets = {
      {{true, 30},
       {true, 30},
       {true, 50},
       {false, 2},
       {false, 12},
       {false, 6},
       {false, 1},
       {false, 0}},
      {{true, 30}},
      {{false, 0}, {false, 200}, {false, 3}},
  };
  for (const auto& panels : sets) {
    for (std::size_t focused = 0; focused < panels.size(); ++focused) {
      for (int width = 1; width <= 250; ++width) {
        for (int height = 1; height <= 80; ++height) {
          const Box area{1, 0, height, width};
          const auto fault = faultOf(layOut(panels, focused, area), focused, area);
          ASSERT_EQ(fault, "") << width << "x" << height << ", panel " << focused;
        }
      }
    }
  }
  EXPECT_TRUE(layOut(sets[0], 0, {0, 0, 0, 80}).empty());
  EXPECT_TRUE(layOut({}, 0, {0, 0, 24, 80}).empty());
  EXPECT_EQ(layOut(sets[0], 0, {1, 0, 60, 200}).size(), 8U);  // a large screen has room for all
}

TEST(History, ASeriesKeepsItsLatestValuesAndItsExtremesForever) {
  Series series;
  series.add(-5);
  for (int i = 0; i < 100; ++i) series.add(i);
  EXPECT_EQ(series.size(), Series::kLength);
  EXPECT_EQ(series.at(0), 60);
  EXPECT_EQ(series.at(Series::kLength - 1), 99);
  EXPECT_EQ(series.minimum(), -5);
  EXPECT_EQ(series.maximum(), 99);
}

TEST(History, RowsThatDoNotComeAnyMoreAreForgotten) {
  History history;
  for (std::size_t i = 0; i < 2 * Series::kLength; ++i) {
    history.add("stays", 1);
    if (i == 0) history.add("leaves", 1);
    history.endRefresh();
    if (i == Series::kLength) {
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

TEST(Sparkline, TheNewestValueStandsToTheRightAndTheScaleIsThatOfAllValues) {
  Series series;
  EXPECT_EQ(sparkline(series, 3, false), "   ");
  series.add(4);
  EXPECT_EQ(sparkline(series, 3, false), "  _");  // one value has no range
  series.add(11);
  series.add(8);
  EXPECT_EQ(sparkline(series, 5, false), "  _#=");
  EXPECT_EQ(sparkline(series, 2, true), "█▅");
  EXPECT_EQ(sparkline(series, -1, true), "");
}

ProcessRow process(std::int32_t pid, const char* name, const char* cpu, const char* icon) {
  return {pid, name, {{"cpu", cpu}}, icon};
}

// The rows as "name value", hidden ones in brackets.
std::vector<std::string> shown(std::string_view key, const Reading& reading,
                               const Choices& choices) {
  std::vector<std::string> lines;
  for (const auto& row : displayRows(key, reading, choices)) {
    const std::string line = row.name + " " + row.value;
    lines.push_back(row.isHidden ? "(" + line + ")" : line);
  }
  return lines;
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
  const std::pair<Choices, Lines> rows[] = {
      {choose(Order::kListed, "", false),
       {"cc1 50.0%", "Web Content 30.5%", "web 25.0%", "bash 1.0%"}},
      {choose(Order::kListed, "WEB", false), {"Web Content 30.5%", "web 25.0%"}},
      {choose(Order::kPid, "", false),
       {"bash 1.0%", "Web Content 30.5%", "web 25.0%", "cc1 50.0%"}},
      {choose(Order::kName, "", false),
       {"bash 1.0%", "cc1 50.0%", "web 25.0%", "Web Content 30.5%"}},
      {choose(Order::kValue, "", true), {"org.web (2) 55.5%", "cc1 50.0%", "bash 1.0%"}},
  };
  for (const auto& [choices, lines] : rows) EXPECT_EQ(shown(kCPUAppUsageKey, list, choices), lines);
}

TEST(Rows, SensorsOfOneNameHaveHistoriesOfTheirOwnAndHiddenOnesComeWhenAskedFor) {
  const Reading sensors = std::vector<SensorRow>{
      {"GPU Diode", "30", "1"}, {"GPU Diode", "95", "0"}, {"Ambient", "80", "1"}};
  Choices all;
  all.showsHidden = true;
  EXPECT_EQ(shown(kTempValuesKey, sensors, {}),
            (std::vector<std::string>{"GPU Diode 30 °C", "Ambient 80 °C"}));
  const auto rows = displayRows(kTempValuesKey, sensors, all);
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_NE(rows[0].id, rows[1].id);
  EXPECT_EQ(rows[0].level, Level::kNormal);
  EXPECT_EQ(rows[1].level, Level::kHot);
  EXPECT_EQ(rows[2].level, Level::kWarm);
}

}  // namespace
}  // namespace tarvel::viewer
