#include <QAction>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeView>
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <map>
#include <numeric>

#include <sys/wait.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/processes/child_process.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "programs/window/graph.h"
#include "programs/window/main_window.h"
#include "programs/window/process_actions.h"
#include "programs/window/process_rows.h"
#include "programs/window/ranked_list.h"
#include "tests/window_fixture.h"
#include "viewer/panels.h"
#include "viewer/process_facts.h"

// The window over recorded stores, on a screen that nobody sees.

// Those libraries keep what they have read until the process ends.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\nleak:libQt6"; }

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

class Window : public WindowTest {
 protected:
  // Time passes by tick alone.
  void tick(MainWindow& window, std::chrono::milliseconds after = 1s) {
    now_ += after;
    QApplication::processEvents();
    window.tick(now_);
    QApplication::processEvents();
  }

  static MainWindow::Setting setting() {
    MainWindow::Setting chosen;
    chosen.startsHelper = false;
    chosen.hasTimer = false;
    return chosen;
  }

  KeptLog log;
  DefaultsStore store{kSuiteName, log};
  MainWindow::Clock::time_point now_ = MainWindow::Clock::now();
};

// What a table holds: a line for each row, with its first two columns.
QString tableOf(const MainWindow& window, const char* name) {
  const auto* model = window.findChild<QTreeView*>(name)->model();
  QString lines;
  const auto add = [&](const auto& self, const QModelIndex& parent, const QString& indent) -> void {
    for (int i = 0; i < model->rowCount(parent); ++i) {
      const auto row = model->index(i, 0, parent);
      lines += indent + row.data().toString() + "|" + row.siblingAtColumn(1).data().toString();
      lines += "\n";
      self(self, row, indent + " ");
    }
  };
  add(add, {}, "");
  return lines;
}

void choose(MainWindow& window, const QString& text) {
  for (auto* action : window.findChildren<QAction*>()) {
    if (action->text() == text) return action->trigger();
  }
  ADD_FAILURE() << "no menu has " << text.toStdString();
}

// The letter that goes with Alt.
QChar letterOf(const QString& text) {
  const auto place = text.indexOf('&');
  return place < 0 ? QChar() : text[place + 1].toLower();
}

TEST_F(Window, IsAViewerWhileItIsSeenOnly) {
  fillStore();
  WindowSettings settings;
  MainWindow window(store, settings, setting());
  const ApplicationRegistry registry;
  const auto viewers = [&] { return registry.running(kViewerIdentifier).size(); };
  tick(window);
  EXPECT_EQ(viewers(), 0U) << "not shown yet";
  window.show();
  tick(window);
  EXPECT_EQ(viewers(), 1U);
  window.showMinimized();
  tick(window);
  EXPECT_EQ(viewers(), 1U) << "it may come back at once";
  tick(window, 1min);
  EXPECT_EQ(viewers(), 0U);
  window.showNormal();
  tick(window);
  EXPECT_EQ(viewers(), 1U);
}

// Counts what is painted.
class PaintCounter : public QObject {
 public:
  explicit PaintCounter(MainWindow& window) {
    for (auto* widget : window.findChildren<QWidget*>()) widget->installEventFilter(this);
  }
  bool eventFilter(QObject*, QEvent* event) override {
    count += static_cast<int>(event->type() == QEvent::Paint);
    return false;
  }
  int count = 0;
};

TEST_F(Window, NothingIsPaintedWhileItIsMinimisedAndAThresholdIsWatched) {
  fillStore();
  WindowSettings settings;
  settings.setThresholds({{"TempValues none 1", 90}});
  MainWindow window(store, settings, setting());
  window.show();
  tick(window);
  window.showMinimized();
  for (int i = 0; i < 3; ++i) tick(window);
  PaintCounter painted(window);
  for (int i = 0; i < 5; ++i) {
    fillStore();
    tick(window, 3s);
  }
  EXPECT_TRUE(window.isWatching());
  EXPECT_EQ(painted.count, 0);
  window.showNormal();
  tick(window, 3s);
  EXPECT_GT(painted.count, 0) << "counts at all";
}

TEST_F(Window, OldReadingsAreMarked) {
  fillStore();
  WindowSettings settings;
  MainWindow window(store, settings, setting());
  window.showPage("processes");
  window.show();
  const auto isDim = [&] {
    const auto first = window.findChild<QTreeView*>("processTable")->model()->index(0, 0);
    return first.data(Qt::ForegroundRole).isValid();
  };
  tick(window);
  EXPECT_FALSE(isDim());
  // As if they had been published at the beginning of the epoch (reading_times.h).
  const auto times = *groupContainer(kSuiteName) + "/Library/Caches/ReadingTimes";
  const std::array<std::int64_t, 8> first = {1, 1, 1, 1, 1, 1, 1, 1};
  writeFile(times, {reinterpret_cast<const char*>(first.data()), sizeof first});
  for (int i = 0; i < 2; ++i) tick(window, 2s);
  EXPECT_TRUE(isDim());
}

TEST_F(Window, ValuesOfAnyFormAreNoReadings) {
  fillStore();
  WindowSettings settings;
  MainWindow window(store, settings, setting());
  window.show();
  const PropertyList values[] = {PropertyList(std::string("text")), PropertyList(Array{}),
                                 PropertyList(Data(1000, 0xff)), PropertyList(true)};
  for (const auto& value : values) {
    for (const auto& panel : kPanelTable) ASSERT_TRUE(store.set(panel.readingKey, value));
    for (const char* page : {"overview", "processes", "sensors", "panels"}) {
      window.showPage(page);
      tick(window, 3s);
    }
  }
  EXPECT_EQ(window.findChild<QTreeView*>("processTable")->model()->rowCount(), 0);
  ASSERT_TRUE(store.set(kPanelsKey, std::string("no panels")));
  tick(window, 3s);
}

TEST_F(Window, SizeAndPageAreThereAgain) {
  WindowSettings settings;
  {
    MainWindow window(store, settings, setting());
    window.showPage("sensors");
    window.resize(640, 480);
  }
  MainWindow window(store, settings, setting());
  EXPECT_EQ(window.page(), "sensors");
  EXPECT_EQ(window.size(), QSize(640, 480));
}

TEST_F(Window, EveryActionHasAMnemonicAndNoKeyIsThereTwice) {
  WindowSettings settings;
  const MainWindow window(store, settings, setting());
  std::map<QString, int> keys;
  for (const auto* action : window.findChildren<QAction*>()) {
    if (!action->shortcut().isEmpty()) ++keys[action->shortcut().toString()];
    if (!action->text().isEmpty()) {
      EXPECT_TRUE(action->text().contains('&')) << action->text().toStdString();
    }
  }
  EXPECT_GE(keys.size(), 12U);
  for (const auto& [key, count] : keys) EXPECT_EQ(count, 1) << key.toStdString();
  std::map<QChar, int> letters;  // of the menus and the tabs, which are there at once
  const auto* tabs = window.findChild<QTabWidget*>();
  for (int i = 0; i < tabs->count(); ++i) ++letters[letterOf(tabs->tabText(i))];
  for (const auto* menu : window.menuBar()->actions()) ++letters[letterOf(menu->text())];
  for (const auto& [letter, count] : letters) EXPECT_EQ(count, 1) << QString(letter).toStdString();
}

TEST_F(Window, ProcessesAreSortedSearchedAndGroupedByTheUser) {
  fillStore();
  WindowSettings settings;
  MainWindow window(store, settings, setting());
  window.showPage("processes");
  window.show();
  tick(window);
  auto* view = window.findChild<QTreeView*>("processTable");
  const auto names = [&] { return tableOf(window, "processTable").section('\n', 0, 1); };
  EXPECT_EQ(names(), "a\\\"b c|301\nbash|302");
  EXPECT_FALSE(view->model()->index(0, 0).data(Qt::DecorationRole).value<QIcon>().isNull());
  view->sortByColumn(static_cast<int>(ProcessColumn::kMemory), Qt::DescendingOrder);
  EXPECT_EQ(names(), "bash|302\na\\\"b c|301");
  view->setCurrentIndex(view->model()->index(1, 0));
  view->sortByColumn(static_cast<int>(ProcessColumn::kPid), Qt::AscendingOrder);
  EXPECT_EQ(view->currentIndex().row(), 0) << "the selection stays with its process";
  auto* search = window.findChild<QLineEdit*>("search");
  search->setText("BASH");
  EXPECT_EQ(names(), "bash|302\n");
  search->clear();
  choose(window, "Group processes by &application");
  tick(window, 3s);
  EXPECT_EQ(WindowSettings().groupsProcesses(), true);
}

// The answers to questions, and what was asked.
struct Answers {
  bool isYes = true;
  QString asked;

  Questions questions() {
    return {[this](auto&, const QString& text, auto&) {
              asked = text;
              return isYes;
            },
            [this](auto&, const QString& text, int) {
              asked = text;
              return isYes ? std::optional(19) : std::nullopt;
            }};
  }
};

TEST_F(Window, WhatIsAskedAboutIsWhatIsSignalled) {
  const auto child = spawnProgram("sleep", {"600"});
  ASSERT_TRUE(child);
  ProcessFactsReader reader;
  const auto* facts = reader.of(*child);
  ASSERT_NE(facts, nullptr);
  const ChosenProcess process{*child, "sleep", facts->startTime};
  const ChosenProcess earlier{*child, "sleep", facts->startTime - 1};
  Answers answers;
  answers.isYes = false;
  EXPECT_EQ(askAndSignal(process, kProcessSignals[1], answers.questions()), "");
  EXPECT_TRUE(answers.asked.contains(QString::number(*child)));
  answers = {};
  EXPECT_TRUE(askAndSignal(earlier, kProcessSignals[1], answers.questions()).contains("ended"))
      << "the number belongs to another process now";
  EXPECT_EQ(answers.asked, "");
  EXPECT_TRUE(askAndRenice(process, answers.questions()).contains("19 now"));
  EXPECT_TRUE(askAndSignal(process, kProcessSignals[1], answers.questions()).contains("sent"));
  int status = 0;
  ::waitpid(*child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  EXPECT_TRUE(askAndRenice(process, answers.questions()).contains("ended"));
}

TEST_F(Window, SensorsAreNamedHiddenAndWatchedAsChosen) {
  fillStore();
  WindowSettings settings;
  auto chosen = setting();
  QStringList notified;
  chosen.askName = [](auto&, auto&) { return std::optional<QString>("Room"); };
  chosen.notify = [&](auto& title, auto&) { notified << title; };
  MainWindow window(store, settings, std::move(chosen));
  window.showPage("sensors");
  window.show();
  tick(window);
  auto* view = window.findChild<QTreeView*>("sensorTable");
  const auto first = view->model()->index(0, 0, view->model()->index(1, 0));
  ASSERT_TRUE(first.isValid()) << tableOf(window, "sensorTable").toStdString();
  const QString name = first.data().toString();
  view->setCurrentIndex(first);

  window.findChild<QCheckBox*>("notifies")->click();
  window.findChild<QDoubleSpinBox*>("threshold")->setValue(10);
  tick(window);
  tick(window, 29s);
  EXPECT_TRUE(notified.isEmpty());
  tick(window, 2s);
  ASSERT_EQ(notified.size(), 1);
  EXPECT_TRUE(notified[0].startsWith(name)) << notified[0].toStdString();
  EXPECT_EQ(WindowSettings().thresholds().size(), 1U);

  const auto has = [&](const char* text) {
    tick(window);
    return tableOf(window, "sensorTable").contains(text);
  };
  choose(window, "&Rename…");
  EXPECT_TRUE(has(" Room|"));
  EXPECT_FALSE(has("°F"));
  choose(window, "&Fahrenheit");
  EXPECT_TRUE(has("°F"));
  choose(window, "&Hide or show again");
  EXPECT_FALSE(has(" Room"));
  choose(window, "Show &hidden sensors");
  EXPECT_TRUE(has(" Room (hidden)|"));
}

TEST_F(Window, AThresholdKeepsItAViewerWhileNobodySees) {
  fillStore();
  WindowSettings settings;
  settings.setThresholds({{"TempValues none 1", 90}});
  MainWindow window(store, settings, setting());
  tick(window);
  EXPECT_TRUE(window.isWatching());
}

TEST_F(Window, PanelsAreSwitchedAndRequestsAreAskedAboutFirst) {
  fillStore();
  WindowSettings settings;
  Answers answers;
  answers.isYes = false;
  auto chosen = setting();
  chosen.questions = answers.questions();
  MainWindow window(store, settings, std::move(chosen));
  window.showPage("panels");
  window.show();
  tick(window);
  auto* fans = window.findChild<QCheckBox*>("FansDash");
  ASSERT_TRUE(fans->isChecked());
  fans->click();
  tick(window);
  EXPECT_FALSE(isPanelEnabled(store.get(kPanelsKey), "FansDash"));
  EXPECT_FALSE(fans->isChecked());
  const auto press = [&](const QString& text) {
    for (auto* button : window.findChildren<QPushButton*>()) {
      if (button->text() == text) button->click();
    }
  };
  press("&Remove helper…");
  EXPECT_FALSE(answers.asked.isEmpty());
  EXPECT_FALSE(store.get(kUninstallHelperKey));
  answers.isYes = true;
  press("&Remove helper…");
  press("Check for &updates");
  EXPECT_TRUE(store.get(kUninstallHelperKey));
  EXPECT_TRUE(store.get(kCheckHelperUpdatesKey));
  EXPECT_FALSE(store.get(kClearSensorsKey));
}

// In each line of the widget's picture, how many pixels are neither of the greys of texts and
// frames nor of the pale fill below a line.
std::vector<int> colouredPixels(QWidget& widget) {
  constexpr int kLeast = 50;
  const QImage image = widget.grab().toImage();
  std::vector<int> lines;
  for (int y = 0; y < image.height(); ++y) {
    lines.push_back(0);
    for (int x = 0; x < image.width(); ++x) {
      const QColor pixel = image.pixelColor(x, y);
      const auto [least, most] = std::minmax({pixel.red(), pixel.green(), pixel.blue()});
      lines.back() += static_cast<int>(most - least > kLeast);
    }
  }
  return lines;
}

int longest(const std::vector<int>& lines, std::size_t from, std::size_t to) {
  return *std::max_element(lines.begin() + static_cast<long>(from),
                           lines.begin() + static_cast<long>(to));
}

TEST_F(Window, AGraphsLineIsAsHighAsItsValue) {
  Graph graph("Graph", [](double) { return QString(); });
  graph.resize(400, 200);
  graph.setTime(10, "");
  std::size_t lower = 200;
  for (const double value : {0.0, 25.0, 50.0, 100.0}) {
    graph.show({{{}, std::vector<double>(10, value)}}, {0, 100});
    const auto lines = colouredPixels(graph);
    const auto top =
        static_cast<std::size_t>(std::max_element(lines.begin(), lines.end()) - lines.begin());
    EXPECT_GT(longest(lines, top, top + 1), 350) << "from one side to the other";
    EXPECT_LT(top, lower) << value;
    lower = top - 10;
  }
  graph.show({{{}, std::vector<double>(5, 50)}}, {0, 100});
  EXPECT_LT(longest(colouredPixels(graph), 0, 200), 220) << "half of the time";
  const auto count = [&] {
    const auto lines = colouredPixels(graph);
    return std::accumulate(lines.begin(), lines.end(), 0);
  };
  const int before = count();
  graph.setMark(75);
  EXPECT_GT(count(), before + 50) << "the mark";
  graph.setMark(101);
  EXPECT_EQ(count(), before) << "outside of the scale";
}

TEST_F(Window, BarsAreAsLongAsTheirShares) {
  RankedList list("Bars");
  list.resize(400, 300);
  std::vector<RankedList::Item> items(3);
  items[0].share = 1;
  items[1].share = 0.5;
  list.show(items, {});
  std::vector<int> bars;
  int before = 0;
  for (const int line : colouredPixels(list)) {
    if (line > 0 && before == 0) bars.push_back(0);
    if (line > 0) bars.back() = std::max(bars.back(), line);
    before = line;
  }
  ASSERT_EQ(bars.size(), 2U);
  EXPECT_NEAR(bars[0], 2 * bars[1], 4);
  EXPECT_GT(bars[0], 350);
  list.show({}, "nothing to show");
  EXPECT_EQ(longest(colouredPixels(list), 0, 300), 0);
  EXPECT_EQ(list.accessibleDescription(), "nothing to show");
}

TEST_F(Window, TheLastHourHasAValueEveryEighteenSeconds) {
  fillStore();
  Watching watching(store, false);
  std::string fan;
  std::vector<std::size_t> sizes;
  for (const auto after : {0s, 17s, 18s, 30s, 36s}) {
    watching.refresh(now_ + after);
    if (fan.empty()) fan = watching.model().panels()[3].rows.at(0).id;
    sizes.push_back(watching.hourOf(fan)->size());
  }
  EXPECT_EQ(sizes, (std::vector<std::size_t>{1, 1, 2, 2, 3}));
  EXPECT_EQ(watching.hourOf("none"), nullptr);
}

TEST_F(Window, GraphsAndListsShowWhatThereIs) {
  fillStore();
  WindowSettings settings;
  MainWindow window(store, settings, setting());
  window.show();
  for (const auto& [page, least] : {std::pair("overview", 3), {"processes", 1}, {"sensors", 1}}) {
    window.showPage(page);
    for (int i = 0; i < 4; ++i) tick(window, 4s);
    int drawn = 0;
    for (auto* widget : window.findChildren<QWidget*>()) {
      const auto* graph = dynamic_cast<Graph*>(widget);
      if (graph == nullptr || !graph->isVisible()) continue;
      if (graph->lines().empty() || graph->lines()[0].values.empty()) continue;
      ++drawn;
      const auto lines = colouredPixels(*widget);
      EXPECT_GT(longest(lines, 0, lines.size()), 0)
          << page << ": " << widget->accessibleName().toStdString();
    }
    EXPECT_GE(drawn, least) << page;
  }
  window.showPage("overview");
  tick(window, 4s);
  std::map<QString, std::size_t> lists;
  for (auto* widget : window.findChildren<QWidget*>()) {
    const auto* list = dynamic_cast<RankedList*>(widget);
    if (list != nullptr) lists[list->accessibleName()] = list->items().size();
  }
  EXPECT_EQ(lists, (std::map<QString, std::size_t>{
                       {"Energy of applications", 1}, {"Fans", 1}, {"Hottest", 3}}));
}

TEST_F(Window, AnotherStartBringsTheFirstToTheFrontAndEnds) {
  const auto first = spawnProgram(TARVEL_WINDOW, {"--no-helper"});
  ASSERT_TRUE(first);
  const ApplicationRegistry registry;
  while (registry.running(kViewerIdentifier).empty()) {
    ASSERT_EQ(::waitpid(*first, nullptr, WNOHANG), 0);
    ::usleep(10'000);
  }
  EXPECT_EQ(run(TARVEL_WINDOW, {"--page", "nothing"}).status, 2);
  EXPECT_EQ(run(TARVEL_WINDOW, {"--page", "sensors"}).status, 0);
  EXPECT_EQ(registry.running(kWindowIdentifier).size(), 1U);
  ::kill(*first, SIGTERM);
  EXPECT_EQ(waitForProgram(*first), 0);
  EXPECT_EQ(WindowSettings().page(), "sensors") << "the page that was asked for";
  EXPECT_TRUE(std::filesystem::is_empty(home.path() / "run/com.Tarvel/apps"));
}

TEST_F(Window, TheCommandSaysWhatIsMissing) {
  const auto alone = home.path() / "bin";
  std::filesystem::create_directory(alone);
  std::filesystem::copy(TARVEL_PROGRAM, alone / "tarvel");
  const auto missing = run((alone / "tarvel").string(), {"window"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.errors,
            "tarvel: tarvel-window: not installed (it is the package tarvel-window)\n");
  const auto wrong = tarvel({"window", "--page", "nothing"});
  EXPECT_EQ(wrong.status, 2);
  EXPECT_EQ(std::count(wrong.errors.begin(), wrong.errors.end(), '\n'), 1) << wrong.errors;
  ::setenv("QT_QPA_PLATFORM", "xcb", 1);
  ::setenv("DISPLAY", "none", 1);
  const auto dark = run(TARVEL_WINDOW, {});
  ::unsetenv("DISPLAY");
  ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  EXPECT_EQ(dark.status, 1);
  EXPECT_EQ(dark.errors,
            "tarvel: window: no screen: DISPLAY and WAYLAND_DISPLAY name none that answers\n");
}

}  // namespace
}  // namespace tarvel::viewer
