#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>
#include <csignal>

#include <sys/wait.h>

#include "platform/host/processes/child_process.h"
#include "product/store_keys.h"
#include "programs/window/process_actions.h"
#include "programs/window/process_rows.h"
#include "tests/main_window_fixture.h"
#include "viewer/panels.h"
#include "viewer/process_facts.h"

// What its user does.

namespace tarvel::viewer {
namespace {

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

}  // namespace
}  // namespace tarvel::viewer
