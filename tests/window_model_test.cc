#include <QAbstractItemModelTester>
#include <QFile>
#include <QPalette>
#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <tuple>

#include "platform/image/raster.h"
#include "platform/image/tiff_writer.h"
#include "product/store_keys.h"
#include "programs/window/alarms.h"
#include "programs/window/colours.h"
#include "programs/window/figures.h"
#include "programs/window/graph.h"
#include "programs/window/icons.h"
#include "programs/window/process_rows.h"
#include "programs/window/row_tree.h"
#include "programs/window/window_settings.h"
#include "tests/window_fixture.h"

// What the window shows, apart from drawing it.

namespace tarvel::viewer {
namespace {

using List = std::vector<ProcessRow>;

QString text(const std::vector<TreeRow>& rows, const QString& indent = {}) {
  QString lines;
  for (const auto& row : rows) {
    lines += indent + row.cells.join('|') + "\n" + text(row.children, indent + "  ");
  }
  return lines;
}

std::vector<TreeRow> randomRows(std::mt19937& random, int depth) {
  std::vector<int> numbers(12);
  for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = static_cast<int>(i);
  std::shuffle(numbers.begin(), numbers.end(), random);
  numbers.resize(random() % numbers.size());
  std::vector<TreeRow> rows;
  for (const int number : numbers) {
    TreeRow row;
    row.key = QString("%1-%2").arg(depth).arg(number);
    row.cells = {row.key, QString::number(random() % 3)};
    if (depth == 0) {
      row.children = randomRows(random, 1 + number);
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<TreeRow> rowsIn(const RowTree& tree, const QModelIndex& parent = {}) {
  std::vector<TreeRow> rows;
  for (int i = 0; i < tree.rowCount(parent); ++i) {
    const auto index = tree.index(i, 0, parent);
    rows.push_back(*tree.row(index));
    rows.back().children = rowsIn(tree, index);
  }
  return rows;
}

class WindowModel : public WindowTest {};

TEST_F(WindowModel, AnyRowsFollowAnyOthersAndIndexesStayWithTheirRows) {
  std::mt19937 random(7);
  RowTree tree({{"Name"}, {"Value", true}}, 1, [](const QString&) { return QIcon(); });
  const QAbstractItemModelTester tester(&tree,
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  std::map<QString, QPersistentModelIndex> kept;
  for (int i = 0; i < 300; ++i) {
    const auto rows = randomRows(random, 0);
    tree.update(rows);
    ASSERT_EQ(text(rowsIn(tree)), text(rows)) << i;
    for (const auto& [key, index] : kept) {
      if (!index.isValid()) continue;
      ASSERT_EQ(tree.row(index)->key, key) << i;
    }
    kept.clear();
    for (const auto& row : rows) {
      kept[row.key] = tree.indexOf(row.key);
      for (const auto& child : row.children) kept[child.key] = tree.indexOf(child.key);
    }
  }
}

TEST_F(WindowModel, ViewsHearOfWhatIsDifferentOnly) {
  RowTree tree({{"Name"}, {"Value", true}}, 1, [](const QString&) { return QIcon(); });
  QStringList heard;
  QObject::connect(&tree, &RowTree::layoutChanged, [&] { heard << "order"; });
  QObject::connect(&tree, &RowTree::rowsInserted, [&](auto, int first, int last) {
    heard << QString("new %1-%2").arg(first).arg(last);
  });
  QObject::connect(&tree, &RowTree::rowsRemoved, [&](auto, int first, int last) {
    heard << QString("gone %1-%2").arg(first).arg(last);
  });
  QObject::connect(&tree, &RowTree::dataChanged, [&](const auto& from, const auto& to) {
    heard << QString("cells %1,%2-%3").arg(from.row()).arg(from.column()).arg(to.column());
  });
  const auto show = [&](std::vector<std::pair<const char*, const char*>> rows) {
    std::vector<TreeRow> shown;
    for (const auto& [key, value] : rows) {
      shown.emplace_back();
      shown.back().key = key;
      shown.back().cells = {key, value};
    }
    heard.clear();
    tree.update(std::move(shown));
    return heard.join(' ');
  };
  EXPECT_EQ(show({{"a", "1"}, {"b", "2"}, {"c", "3"}}), "new 0-2");
  EXPECT_EQ(show({{"a", "1"}, {"b", "2"}, {"c", "3"}}), "");
  EXPECT_EQ(show({{"a", "1"}, {"b", "5"}, {"c", "3"}}), "cells 1,1-1");
  EXPECT_EQ(show({{"b", "5"}, {"a", "1"}, {"c", "3"}}), "order");
  EXPECT_EQ(show({{"b", "5"}, {"c", "3"}}), "gone 1-1");
}

ProcessRow process(std::int32_t pid, const char* name, const char* tag, const char* value,
                   const char* icon = "unknown") {
  return {pid, name, {{tag, value}}, icon};
}

TEST_F(WindowModel, TheListsAreOneTableOrderedFilteredAndGroupedAsChosen) {
  const List processor = {process(9, "cc1 ", "cpu", "50.0"),
                          process(7, "web ", "cpu", "30.5", "org.web.tiff"),
                          process(8, "tab ", "cpu", "25.0", "org.web.tiff")};
  const List memory = {{7, "web ", {{"mem", "20M"}, {"cmprs", "512K"}}, "org.web.tiff"},
                       process(2, "shell ", "mem", "3M")};
  const List energy = {process(8, "tab ", "power", "4.2", "org.web.tiff")};
  std::map<std::int32_t, int> asked;
  const auto processes = joinedProcesses({&processor, &memory, nullptr, &energy}, [&](auto& row) {
    ++asked[row.pid];
    return ProcessIdentity{QString::fromStdString(row.name).trimmed(), row.pid == 2 ? "bob" : "ada",
                           row.pid == 9 ? "cc1 -O2 sort.c" : "", 1};
  });
  EXPECT_EQ(asked, (std::map<std::int32_t, int>{{2, 1}, {7, 1}, {8, 1}, {9, 1}}));
  const QString cc1 = "cc1|9|ada|50.0 %||||cc1 -O2 sort.c\n";
  const QString web = "web|7|ada|30.5 %|20M|512K||\n";
  const QString tab = "tab|8|ada|25.0 %|||4.2|\n";
  const QString shell = "shell|2|bob||3.0M|||\n";
  using Column = ProcessColumn;
  const std::pair<ProcessChoices, QString> cases[] = {
      {{Column::kProcessor, true, false, ""}, cc1 + web + tab + shell},
      {{Column::kProcessor, false, false, ""}, tab + web + cc1 + shell},  // blanks stay last
      {{Column::kMemory, true, false, ""}, web + shell + tab + cc1},
      {{Column::kName, false, false, ""}, cc1 + shell + tab + web},
      {{Column::kPid, false, false, ""}, shell + web + tab + cc1},
      {{Column::kProcessor, true, false, " SORT "}, cc1},  // in a command line
      {{Column::kProcessor, true, false, "bob"}, shell},
      {{Column::kProcessor, true, false, "brows"}, web + tab},  // the application's shown name
      {{Column::kProcessor, true, false, "8"}, tab},            // a process id, whole
      {{Column::kProcessor, true, true, ""},
       "Browser||ada|55.5 %|20M|512K|4.2|2 processes\n  " + web + "  " + tab + cc1 + shell},
      {{Column::kProcessor, true, true, "tab"}, tab},
  };
  for (const auto& [choices, rows] : cases) {
    EXPECT_EQ(text(processRows(processes, choices, [](auto&) { return QString("Browser"); })),
              rows);
  }
}

Data tiffOf(std::uint32_t side) {
  Raster raster;
  raster.width = raster.height = side;
  raster.pixels.assign(std::size_t{side} * side * 4, 0xff);
  return tiffData(raster, 48);
}

TEST_F(WindowModel, OnlySoundPicturesOfAFairSizeAreIcons) {
  const auto path = QString::fromStdString(file("icon.tiff"));
  const auto sideOf = [&](const Data& data) {
    writeFile(path.toStdString(), {reinterpret_cast<const char*>(data.data()), data.size()});
    return readIcon(path, 24).width();
  };
  EXPECT_EQ(sideOf(tiffOf(48)), 48)
      << "is the TIFF plugin of Qt (qt6-image-formats-plugins) there?";
  EXPECT_EQ(sideOf(tiffOf(1024)), 1024);
  EXPECT_EQ(sideOf(tiffOf(1025)), 0);
  Data cut = tiffOf(48);
  cut.resize(cut.size() / 2);
  EXPECT_EQ(sideOf(cut), 0);
  EXPECT_EQ(sideOf({}), 0);
  QImage(8, 8, QImage::Format_RGB32).save(path, "png");
  EXPECT_TRUE(readIcon(path, 24).isNull()) << "another format under that name";
  EXPECT_TRUE(readIcon(QString::fromStdString(home.path().string()), 24).isNull()) << "a folder";
}

TEST_F(WindowModel, AnIconThatWasDrawnAnewIsShownAnewAndOthersAreGeneric) {
  const std::string path = file("org.a.tiff");
  ApplicationIcons icons(QString::fromStdString(home.path().string()) + "/");
  const auto generic = icons.of("../org.a").cacheKey();
  EXPECT_EQ(icons.of("org.a").cacheKey(), generic);
  const Data data = tiffOf(48);
  writeFile(path, {reinterpret_cast<const char*>(data.data()), data.size()});
  EXPECT_EQ(icons.of("org.a").cacheKey(), generic) << "looked at once in a refresh";
  icons.beginRefresh();
  const auto drawn = icons.of("org.a").cacheKey();
  EXPECT_NE(drawn, generic);
  icons.beginRefresh();
  EXPECT_EQ(icons.of("org.a").cacheKey(), drawn);
}

TEST_F(WindowModel, ApplicationsHaveTheNamesOfTheirEntries) {
  std::filesystem::create_directories(home.path() / "data/applications");
  writeFile(home.path() / "data/applications/org.a.Paint.desktop",
            "[Desktop Entry]\nName=Paint & Co\n");
  ApplicationIcons icons(QString{});
  EXPECT_EQ(icons.nameOf("org.a.Paint"), "Paint & Co");
  EXPECT_EQ(icons.nameOf("org.b.Draw"), "Draw");
  EXPECT_EQ(icons.nameOf("plain"), "plain");
  EXPECT_EQ(icons.nameOf("../x"), "/x");
  const std::pair<const char*, const char*> cases[] = {
      {"[Desktop Entry]\nName=A\nName[de]=B\nName[de_AT]=C\n", "C"},
      {"[Desktop Entry]\nName[de]=B\nName=A\n", "B"},
      {"[Desktop Entry]\n Name = A \nName[fr]=F\n[Desktop Action x]\nName=New\n", "A"},
      {"Name=A\n", ""},
      {"", ""},
  };
  for (const auto& [entry, name] : cases)
    EXPECT_EQ(desktopEntryName(entry, "de_AT"), name) << entry;
}

TEST_F(WindowModel, WhatAProcessCallsItselfIsNoMarkup) {
  RowTree tree({{"Name"}}, 0, [](const QString&) { return QIcon(); });
  TreeRow row;
  row.key = "1";
  row.cells = {"x"};
  row.toolTip = "sh -c '<img src=/etc/x> & more'";
  tree.update({row});
  EXPECT_EQ(tree.index(0, 0).data(Qt::ToolTipRole),
            "<p>sh -c '&lt;img src=/etc/x&gt; &amp; more'</p>");
}

TEST_F(WindowModel, ScalesOfBytesAreRoundAndHoldEveryValue) {
  constexpr double kMebi = 1024 * 1024;
  const std::pair<std::vector<double>, double> cases[] = {
      {{}, 1024},
      {{0, 1000}, 1024},
      {{1025}, 2 * 1024},
      {{512 * 1024, 3 * 1024}, 1024 * 1000},
      {{kMebi, 4.5 * kMebi}, 5 * kMebi},
      {{21 * kMebi}, 50 * kMebi},
  };
  for (const auto& [values, most] : cases) {
    const auto scale = scaleOfBytes({{{}, values}});
    EXPECT_EQ(scale.from, 0);
    EXPECT_EQ(scale.to, most);
  }
}

TEST_F(WindowModel, GraphsShowTheLatestValues) {
  Series series;
  for (int i = 0; i < 250; ++i) series.add(i);
  EXPECT_EQ(valuesOf(series).size(), Series::kLength);
  EXPECT_EQ(valuesOf(series, 2), (std::vector<double>{248, 249}));
  EXPECT_TRUE(valuesOf(Series()).empty());
}

TEST_F(WindowModel, TheMachineIsTextOfWhatItHas) {
  MachineTotals totals;
  totals.uptime = std::chrono::hours(76);
  EXPECT_EQ(stateText(totals), "Up 3d 4h");
  EXPECT_EQ(machineReading(kTrayProcessor, totals).text, "–");
  totals.battery = Battery{0.5, Battery::State::kCharging, std::chrono::minutes(65)};
  totals.nearlyFull = {{"/srv", 0.98, 1ULL << 29, 1ULL << 36}};
  EXPECT_EQ(stateText(totals),
            "Up 3d 4h  ·  battery 50 %, charging, 1:05 to full  ·  /srv is 98 % full, 512M left");
  totals.processors = Processors{0.256, {}};
  totals.memory = Memory{8ULL << 30, 2ULL << 30, 0, 0, 0};
  EXPECT_EQ(machineReading(kTrayProcessor, totals).text, "26");
  EXPECT_EQ(machineReading(kTrayMemory, totals).line, "Memory 25 %");
}

double contrast(const QColor& a, const QColor& b) {
  const auto luminance = [](const QColor& colour) {
    const auto linear = [](double share) {
      return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
  };
  const double x = luminance(a);
  const double y = luminance(b);
  return (std::max(x, y) + 0.05) / (std::min(x, y) + 0.05);
}

TEST_F(WindowModel, ColoursStandOutFromLightAndDarkBackgrounds) {
  for (const char* base : {"#ffffff", "#f5f5f5", "#000000", "#1b1e20", "#232629", "#31363b"}) {
    QPalette palette;
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::Text, QColor(base).lightness() > 128 ? Qt::black : Qt::white);
    std::set<QRgb> lines;
    for (std::size_t i = 0; i < kSeriesColours; ++i) {
      const auto colour = seriesColour(i, palette);
      lines.insert(colour.rgb());
      EXPECT_GE(contrast(colour, base), 3) << base << ", line " << i;
    }
    EXPECT_EQ(lines.size(), kSeriesColours);
    const auto faint = faintColour(palette);
    EXPECT_GT(faint.alphaF(), 0.6) << "desktops may leave their own role unreadable";
    for (const auto level : {Level::kWarm, Level::kHot}) {
      EXPECT_GE(contrast(levelColour(level, palette), base), 4.5) << base;
    }
  }
}

TEST_F(WindowModel, AThresholdIsToldOnceAfterThirtySecondsWithoutABreak) {
  using namespace std::chrono_literals;
  Alarms alarms;
  alarms.setThresholds({{"a", 90}});
  const auto start = Alarms::Clock::now();
  std::optional<double> number;
  const auto tells = [&](std::chrono::seconds at, std::optional<double> value) {
    number = value;
    return !alarms.check(start + at, [&](auto&) { return number; }).empty();
  };
  EXPECT_FALSE(tells(0s, 91));
  EXPECT_FALSE(tells(29s, 91));
  EXPECT_TRUE(tells(30s, 91));
  EXPECT_FALSE(tells(90s, 95)) << "told already";
  EXPECT_FALSE(tells(93s, 90)) << "not above";
  EXPECT_FALSE(tells(96s, 91));
  EXPECT_FALSE(tells(110s, std::nullopt)) << "an old reading";
  EXPECT_FALSE(tells(130s, 91));
  alarms.setThresholds({{"a", 90}, {"b", 1e9}});
  EXPECT_TRUE(tells(160s, 91)) << "another threshold changes nothing for this one";
  alarms.setThresholds({{"a", 80}});
  EXPECT_FALSE(tells(163s, 91)) << "a new threshold is counted anew";
  EXPECT_TRUE(tells(193s, 91));
}

TEST_F(WindowModel, FiguresHaveTheUnitAndDecimalsOfTheirKind) {
  const std::tuple<std::string_view, double, const char*, bool, const char*> cases[] = {
      {kTempValuesKey, 58.5, "58 °C", false, "58 °C"},  // as C rounds
      {kTempValuesKey, 100, "212 °F", true, "212 °F"},
      {kFanSpeedValuesKey, 2500, "2600 RPM", true, "2500 RPM"},
      {kVoltageValuesKey, 1.25, "1.05 V", false, "1.25 V"},
      {kPowerValuesKey, 36, "35.9 W", false, "36.0 W"},
  };
  for (const auto& [key, number, shown, isFahrenheit, text] : cases) {
    EXPECT_EQ(sensorText(key, number, shown, isFahrenheit), text);
  }
  EXPECT_DOUBLE_EQ(celsius(shownDegrees(37.5, true), true), 37.5);
  PanelView panel;
  const auto tray = [&](const char* value, bool isStale) {
    DisplayRow row;
    row.name = "Fan";
    row.value = value;
    row.number = numberOf(value);
    panel.isStale = isStale;
    return sensorReading({&panel, &row}).text;
  };
  EXPECT_EQ(tray("2640 RPM", false), "2k6");
  EXPECT_EQ(tray("12640 RPM", false), "13");
  EXPECT_EQ(tray("47 °C", false), "47");
  EXPECT_EQ(tray("1.05 V", false), "1.1");
  EXPECT_EQ(tray("47 °C", true), "–");
  EXPECT_EQ(sensorReading({}).text, "–");
}

TEST_F(WindowModel, SettingsOfOthersStayAndThresholdsComeBack) {
  WindowSettings::Thresholds given = {{"TempValues CPU, \"A\"/B=1 °C 1", 80.5}, {"x y", -3}};
  WindowSettings().setThresholds(given);
  EXPECT_EQ(WindowSettings().thresholds(), given);
  const auto path = home.path() / "config/tarvel/dashboard.json";
  writeFile(path, R"({"theme": "light", "filter": "web", "aliases": {"TempValues": {"A": "B"}}})");
  Choices choices = WindowSettings().shared();
  EXPECT_EQ(choices.filter, "") << "the filter of the dashboard is its own";
  EXPECT_EQ(choices.aliases.size(), 1U);
  choices.isFahrenheit = true;
  EXPECT_TRUE(WindowSettings().share(choices));
  const auto kept = Json::parse(contentsOf(path));
  EXPECT_EQ(kept["theme"], "light");
  EXPECT_EQ(kept["filter"], "web");
  EXPECT_EQ(kept["fahrenheit"], true);
  writeFile(path, "{ broken");
  EXPECT_FALSE(WindowSettings().share(choices));
  EXPECT_EQ(contentsOf(path), "{ broken");
}

}  // namespace
}  // namespace tarvel::viewer
