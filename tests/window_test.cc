#include <QAbstractItemModel>
#include <QTreeView>
#include <csignal>

#include <unistd.h>

#include "platform/host/processes/child_process.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "programs/window/main_window.h"
#include "programs/window/process_actions.h"
#include "tests/window_fixture.h"
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

  KeptLog log;
  DefaultsStore store{kSuiteName, log};
  MainWindow::Clock::time_point now_ = MainWindow::Clock::now();
};

TEST_F(Window, IsAViewerWhileItIsSeenOnly) {
  fillStore();
  WindowSettings settings;
  MainWindow window(store, settings, {{}, false, false});
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

TEST_F(Window, ProcessesAreListedOnce) {
  fillStore();
  WindowSettings settings;
  MainWindow window(store, settings, {{}, false, false});
  ASSERT_TRUE(window.showPage("processes"));
  EXPECT_FALSE(window.showPage("no such page"));
  window.show();
  tick(window);
  const auto* view = window.findChild<QTreeView*>("processTable");
  ASSERT_NE(view, nullptr);
  std::vector<std::string> pids;
  for (int i = 0; i < view->model()->rowCount(); ++i) {
    pids.push_back(view->model()->index(i, 1).data().toString().toStdString());
  }
  EXPECT_EQ(pids, (std::vector<std::string>{"301", "302"}));
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

}  // namespace
}  // namespace tarvel::viewer
