#include <QAction>
#include <QMenuBar>
#include <QTabWidget>
#include <QTreeView>
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <map>

#include <sys/wait.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/processes/child_process.h"
#include "product/store_keys.h"
#include "tests/main_window_fixture.h"

// The window while time passes, helpers come and go, and it is started again.

// Those libraries keep what they have read until the process ends.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\nleak:libQt6"; }

namespace tarvel::viewer {
namespace {

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

TEST_F(Window, AThresholdKeepsItAViewerWhileNobodySees) {
  fillStore();
  WindowSettings settings;
  settings.setThresholds({{"TempValues none 1", 90}});
  MainWindow window(store, settings, setting());
  tick(window);
  EXPECT_TRUE(window.isWatching());
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
