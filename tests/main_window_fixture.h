#pragma once

#include <QAction>
#include <QTreeView>
#include <chrono>

#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "programs/window/main_window.h"
#include "tests/window_fixture.h"

// The window over recorded stores, on a screen that nobody sees.

namespace tarvel::viewer {

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
inline QString tableOf(const MainWindow& window, const char* name) {
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

inline void choose(MainWindow& window, const QString& text) {
  for (auto* action : window.findChildren<QAction*>()) {
    if (action->text() == text) return action->trigger();
  }
  ADD_FAILURE() << "no menu has " << text.toStdString();
}

}  // namespace tarvel::viewer
