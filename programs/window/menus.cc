#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QTabWidget>

#include "programs/window/main_window.h"
#include "programs/window/process_page.h"
#include "programs/window/sensor_page.h"

// The menus of the window. Everything that it can do stands in them, most with a key.

namespace tarvel::viewer {

void MainWindow::addMenus() {
  addWindowMenu();
  addViewMenu();
  addProcessMenu();
  addSensorMenu();
  auto* help = menuBar()->addMenu("&Help");
  help->addAction("&Keys", QKeySequence::HelpContents, this, [this] { showKeys(); });
  help->addAction("&About Tarvel", this, [this] {
    QMessageBox::about(this, "About Tarvel",
                       "Tarvel " + QApplication::applicationVersion() +
                           "\n\nA system monitor that you can leave running.\nMIT licence.");
  });
}

void MainWindow::addWindowMenu() {
  auto* menu = menuBar()->addMenu("&Window");
  for (int i = 0; i < tabs_->count(); ++i) {
    menu->addAction(tabs_->tabText(i), QKeySequence(QString("Ctrl+%1").arg(i + 1)), this,
                    [this, i] { tabs_->setCurrentIndex(i); });
  }
  menu->addSeparator();
  auto* stays = menu->addAction("Close into the &tray");
  stays->setCheckable(true);
  stays->setChecked(settings_.staysInTray());
  QObject::connect(stays, &QAction::toggled, this,
                   [this](bool isOn) { settings_.setStaysInTray(isOn); });
  menu->addAction("&Close", QKeySequence::Close, this, [this] { close(); });
  menu->addAction("&Quit", QKeySequence(Qt::CTRL | Qt::Key_Q), this, [] { QApplication::quit(); });
}

void MainWindow::addViewMenu() {
  auto* menu = menuBar()->addMenu("&View");
  const auto choices = settings_.shared();
  const auto addToggle = [&](const QString& text, const char* keys, bool isOn, auto act) {
    auto* action = menu->addAction(text);
    action->setCheckable(true);
    action->setChecked(isOn);
    action->setShortcut(QKeySequence(keys));
    QObject::connect(action, &QAction::toggled, this, act);
  };
  addToggle("Group processes by &application", "Ctrl+G", processes_->isGrouped(),
            [this](bool isOn) {
              settings_.setGroupsProcesses(isOn);
              processes_->setGrouped(isOn);
            });
  addToggle("Show &hidden sensors", "Ctrl+Shift+H", choices.showsHidden,
            [this](bool isOn) { setShared([isOn](Choices& each) { each.showsHidden = isOn; }); });
  addToggle("&Fahrenheit", "Ctrl+U", choices.isFahrenheit,
            [this](bool isOn) { setShared([isOn](Choices& each) { each.isFahrenheit = isOn; }); });
  auto* tray = menu->addMenu("&Tray");
  auto* group = new QActionGroup(this);
  const auto addReading = [&](const QString& text, const QString& reading) {
    auto* action = tray->addAction(text);
    action->setCheckable(true);
    action->setChecked(trayReading_ == reading);
    group->addAction(action);
    QObject::connect(action, &QAction::triggered, this,
                     [this, reading] { setTrayReading(reading); });
  };
  addReading("&Processor", "processor");
  addReading("&Memory", "memory");
  auto* sensor = tray->addAction("The &selected sensor", QKeySequence("Ctrl+T"), this, [this] {
    const auto selected = sensors_->selected();
    if (selected.isEmpty()) return tell("Select a sensor first");
    setTrayReading(selected);
  });
  sensor->setCheckable(true);
  sensor->setChecked(trayReading_.contains(' '));
  group->addAction(sensor);
  addReading("&No icon", "");
}

void MainWindow::addProcessMenu() {
  processMenu_ = menuBar()->addMenu("&Process");
  processMenu_->addAction("&Search", QKeySequence::Find, this, [this] { processes_->search(); });
  processMenu_->addSeparator();
  const char* const keys[kProcessSignalCount] = {"Del", "Shift+Del"};
  for (std::size_t i = 0; i < kProcessSignalCount; ++i) {
    const auto& signal = kProcessSignals[i];
    processMenu_->addAction(signal.action, QKeySequence(keys[i] != nullptr ? keys[i] : ""), this,
                            [this, &signal] { processes_->signal(signal); });
  }
  processMenu_->addSeparator();
  processMenu_->addAction("Change p&riority…", QKeySequence("Ctrl+R"), this,
                          [this] { processes_->renice(); });
  processes_->setContextActions(processMenu_->actions());
}

void MainWindow::addSensorMenu() {
  sensorMenu_ = menuBar()->addMenu("&Sensor");
  sensorMenu_->addAction("&Rename…", QKeySequence("F2"), this, [this] { sensors_->rename(); });
  sensorMenu_->addAction("&Hide or show again", QKeySequence("Ctrl+H"), this, [this] {
    sensors_->toggleHidden();
    lookAgain();
  });
  sensors_->setContextActions(sensorMenu_->actions());
}

// What is about a page can be chosen while that is shown.
void MainWindow::enableActions() {
  for (auto* action : processMenu_->actions()) action->setEnabled(page() == "processes");
  for (auto* action : sensorMenu_->actions()) action->setEnabled(page() == "sensors");
}

void MainWindow::showKeys() {
  QString rows;
  const auto list = [&](const auto& self, const QList<QAction*>& actions) -> void {
    for (const auto* action : actions) {
      if (action->menu() != nullptr) self(self, action->menu()->actions());
      if (action->shortcut().isEmpty()) continue;
      rows += QString("<tr><td><b>%1</b>&nbsp;&nbsp;&nbsp;</td><td>%2</td></tr>")
                  .arg(action->shortcut().toString(QKeySequence::NativeText).toHtmlEscaped(),
                       action->text().remove('&').remove("…").toHtmlEscaped());
    }
  };
  list(list, menuBar()->actions());
  rows +=
      "<tr><td><b>Alt</b>&nbsp;&nbsp;&nbsp;</td><td>with an underlined letter: what it stands "
      "in</td></tr>";
  QMessageBox box(QMessageBox::NoIcon, "Keys", "<table>" + rows + "</table>", QMessageBox::Close,
                  this);
  box.exec();
}

}  // namespace tarvel::viewer
