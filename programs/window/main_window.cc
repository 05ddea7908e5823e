#include "programs/window/main_window.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QInputDialog>
#include <QMenuBar>
#include <QStatusBar>
#include <QTabWidget>
#include <QWindow>
#include <utility>

#include "programs/window/overview_page.h"
#include "programs/window/panel_page.h"
#include "programs/window/process_page.h"
#include "programs/window/sensor_page.h"
#include "viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kLook = 500ms;          // between two looks at the store
constexpr auto kUnseenLook = 3s;       // for the tray and the thresholds alone
constexpr auto kLongestWait = 1200ms;  // for the rest of a cycle
constexpr auto kLeaveAfter = 5s;       // that nobody sees the window
constexpr int kMessageTime = 10'000;   // ms
constexpr QSize kUsualSize(1000, 740);

}  // namespace

MainWindow::MainWindow(DefaultsStore& store, WindowSettings& settings, Setting setting)
    : store_(store),
      settings_(settings),
      setting_(std::move(setting)),
      icons_(QString::fromStdString(iconDirectory())),
      tray_({[this] { toggleWindow(); }, [] { QApplication::quit(); }}),
      trayReading_(settings_.trayReading()),
      tabs_(new QTabWidget) {
  setWindowTitle("Tarvel");
  setWindowIcon(QIcon::fromTheme("utilities-system-monitor"));
  fillSetting();
  alarms_.setThresholds(settings_.thresholds());
  setCentralWidget(tabs_);
  tabs_->setDocumentMode(true);
  addPages();
  addMenus();
  if (!restoreGeometry(settings_.geometry())) resize(kUsualSize);
  showPage(settings_.page());
  enableActions();
  tray_.setShown(!trayReading_.isEmpty());
  QObject::connect(tabs_, &QTabWidget::currentChanged, this, [this] {
    enableActions();
    lookAgain();
  });
  QObject::connect(&timer_, &QTimer::timeout, this, [this] { tick(Clock::now()); });
  if (setting_.hasTimer) timer_.start(kLook);
}

MainWindow::~MainWindow() {
  // The pages end after what they show.
  tabs_->disconnect(this);
  leavePages();
  settings_.setGeometry(saveGeometry());
  settings_.setPage(page());
}

void MainWindow::fillSetting() {
  if (!setting_.questions.confirm) setting_.questions = questionsOver(this);
  if (!setting_.notify) {
    setting_.notify = [this](const QString& title, const QString& text) {
      tray_.notify(title, text);
    };
  }
  if (setting_.askName) return;
  setting_.askName = [this](const QString& sensor, const QString& now) -> std::optional<QString> {
    bool isGiven = false;
    const QString name = QInputDialog::getText(
        this, "Rename sensor", "Name of " + sensor + " (empty: its own):", QLineEdit::Normal, now,
        &isGiven);
    return isGiven ? std::optional(name) : std::nullopt;
  };
}

void MainWindow::tell(const QString& message) { statusBar()->showMessage(message, kMessageTime); }

void MainWindow::addPage(Page* page, const QString& name, const QString& title) {
  page->setObjectName(name);
  tabs_->addTab(page, title);
}

void MainWindow::addPages() {
  const auto told = [this](const QString& message) { tell(message); };
  processes_ = new ProcessPage(icons_, setting_.questions, told);
  processes_->setGrouped(settings_.groupsProcesses());
  sensors_ =
      new SensorPage(settings_, alarms_, {told, [this] { applySettings(); }, setting_.askName});
  addPage(new OverviewPage(icons_), "overview", "&Overview");
  addPage(processes_, "processes", "Proc&esses");
  addPage(sensors_, "sensors", "Se&nsors");
  addPage(new PanelPage(store_, setting_.questions, told), "panels", "Pane&ls");
}

bool MainWindow::isPage(const QString& name) {
  return QStringList{"overview", "processes", "sensors", "panels"}.contains(name);
}

bool MainWindow::showPage(const QString& name) {
  for (int i = 0; i < tabs_->count(); ++i) {
    if (tabs_->widget(i)->objectName() != name) continue;
    tabs_->setCurrentIndex(i);
    return true;
  }
  return false;
}

Page* MainWindow::currentPage() const { return static_cast<Page*>(tabs_->currentWidget()); }

QString MainWindow::page() const { return tabs_->currentWidget()->objectName(); }

void MainWindow::startHidden() {
  if (!tray_.isThere()) showMinimized();
}

void MainWindow::comeToFront(const QString& activationToken) {
  // Where Qt's plugin for Wayland looks for it.
  if (!activationToken.isEmpty() && QGuiApplication::platformName().startsWith("wayland")) {
    qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
  }
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
}

void MainWindow::toggleWindow() {
  if (isSeen() && isActiveWindow()) {
    hide();
  } else {
    comeToFront({});
  }
}

// What other viewers may have changed in the shared settings counts from the next start on, but for
// what is changed here.
void MainWindow::applySettings() {
  if (!watching_) return;
  watching_->model().choices = settings_.shared();
  watching_->model().rebuild();
  lookAgain();
}

void MainWindow::setShared(const std::function<void(Choices&)>& change) {
  Choices choices = settings_.shared();
  change(choices);
  if (!settings_.share(choices)) tell("The settings file takes no writes");
  applySettings();
}

void MainWindow::setTrayReading(const QString& reading) {
  trayReading_ = reading;
  settings_.setTrayReading(reading);
  tray_.setShown(!reading.isEmpty());
  lookAgain();
}

bool MainWindow::isSeen() const {
  return isVisible() && !isMinimized() && windowHandle() != nullptr && windowHandle()->isExposed();
}

// Totals of the machine need no helper.
bool MainWindow::needsSensors() const {
  const auto reading = trayReading_.toStdString();
  const bool isSensor =
      !reading.empty() && reading != kTrayProcessor && reading != kTrayMemory && tray_.isThere();
  return isSensor || !alarms_.thresholds().empty();
}

void MainWindow::lookAgain() {
  isDue_ = true;
  if (!setting_.hasTimer) return;
  timer_.start(kLook);
  tick(Clock::now());
}

void MainWindow::tick(Clock::time_point now) {
  const bool seen = isSeen();
  if (seen) lastSeen_ = now;
  watch(now, seen);
  if (watching_) {
    takeNews(now);
    checkAlarms(now);
    if (seen && isDue_) showNews();
  }
  showInTray(now);
  if (setting_.hasTimer) setTimer(seen);
}

void MainWindow::setTimer(bool isSeen) {
  const auto wanted = isSeen ? std::chrono::milliseconds(kLook) : kUnseenLook;
  if (!isSeen && !watching_ && !tray_.isThere()) {
    timer_.stop();
  } else if (timer_.intervalAsDuration() != wanted) {
    timer_.start(wanted);
  }
}

void MainWindow::leavePages() {
  for (int i = 0; i < tabs_->count(); ++i) static_cast<Page*>(tabs_->widget(i))->leave();
}

void MainWindow::watch(Clock::time_point now, bool isSeen) {
  const bool stays = watching_ && now - lastSeen_ < kLeaveAfter;
  if (!isSeen && !stays && !needsSensors()) {
    leavePages();
    watching_.reset();
    return;
  }
  if (watching_) return;
  unwatched_.reset();
  watching_.emplace(store_, setting_.startsHelper);
  watching_->model().choices = settings_.shared();
  isDue_ = true;
}

// The lists of a cycle come one after the other, within some hundred milliseconds: they are shown
// together, when a look has found nothing more.
void MainWindow::takeNews(Clock::time_point now) {
  const auto news = watching_->refresh(now);
  const bool isNew = news.readings || (news.totals && currentPage()->showsTotals());
  if (isNew && !newsSince_) newsSince_ = now;
  if (newsSince_ && (!isNew || now - *newsSince_ >= kLongestWait)) isDue_ = true;
}

void MainWindow::showNews() {
  isDue_ = false;
  newsSince_.reset();
  currentPage()->refresh(*watching_);
}

void MainWindow::checkAlarms(Clock::time_point now) {
  const auto& model = watching_->model();
  const auto numberOf = [&](const std::string& row) -> std::optional<double> {
    const auto found = sensorRow(model, row);
    return found && !found.panel->isStale ? found.row->number : std::nullopt;
  };
  for (const auto& row : alarms_.check(now, numberOf)) {
    const auto found = sensorRow(model, row);
    const auto name = QString::fromStdString(found.row->name);
    const auto threshold = sensorText(found.panel->key, alarms_.thresholds().at(row),
                                      found.row->value, model.choices.isFahrenheit);
    setting_.notify(name + " is at " + QString::fromStdString(found.row->value),
                    QString("It has been above %1 for %2 seconds.")
                        .arg(threshold)
                        .arg(Alarms::kPatience.count()));
  }
}

void MainWindow::showInTray(Clock::time_point now) {
  if (!tray_.isThere()) return;
  const auto which = trayReading_.toStdString();
  if (which != kTrayProcessor && which != kTrayMemory) {
    return tray_.show(sensorReading(watching_ ? sensorRow(watching_->model(), which) : FoundRow()));
  }
  if (watching_) return tray_.show(machineReading(which, watching_->model().machine()));
  if (unwatched_ && now - lastUnwatched_ < kUnseenLook) return;
  if (!unwatched_) unwatched_.emplace();
  lastUnwatched_ = now;
  MachineReader::Wanted wanted{false, false, false, false, false, false, false, false};
  wanted.processors = which == kTrayProcessor;
  wanted.memory = which == kTrayMemory;
  tray_.show(machineReading(which, unwatched_->sample(now, wanted)));
}

void MainWindow::changeEvent(QEvent* event) {
  if (event->type() == QEvent::WindowStateChange) lookAgain();
  QMainWindow::changeEvent(event);
}

void MainWindow::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  if (windowHandle() != nullptr) windowHandle()->installEventFilter(this);
}

// Whether anything of the window is on a screen is told to its handle.
bool MainWindow::eventFilter(QObject* object, QEvent* event) {
  const bool isHandled = QMainWindow::eventFilter(object, event);
  const bool isAwake = timer_.isActive() && timer_.intervalAsDuration() == kLook;
  if (event->type() == QEvent::Expose && setting_.hasTimer && !isAwake && isSeen()) {
    isDue_ = true;
    timer_.start(0);
  }
  return isHandled;
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (settings_.staysInTray() && tray_.isThere()) {
    event->ignore();
    hide();
    return;
  }
  QMainWindow::closeEvent(event);
  QApplication::quit();
}

}  // namespace tarvel::viewer
