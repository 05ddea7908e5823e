#include "programs/window/main_window.h"

#include <QAction>
#include <QCloseEvent>
#include <QMenuBar>
#include <QStatusBar>
#include <QTabWidget>
#include <QWindow>
#include <utility>

#include "programs/window/process_page.h"
#include "viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kLook = 500ms;  // between two looks at the store
constexpr auto kBetweenPictures = 700ms;
constexpr auto kLeaveAfter = 5s;      // that nobody sees the window
constexpr int kMessageTime = 10'000;  // ms

}  // namespace

MainWindow::MainWindow(DefaultsStore& store, WindowSettings& settings, Setting setting)
    : store_(store),
      settings_(settings),
      setting_(std::move(setting)),
      icons_(QString::fromStdString(iconDirectory())),
      tabs_(new QTabWidget) {
  setWindowTitle("Tarvel");
  setWindowIcon(QIcon::fromTheme("utilities-system-monitor"));
  if (!setting_.questions.confirm) setting_.questions = questionsOver(this);
  setCentralWidget(tabs_);
  tabs_->setDocumentMode(true);
  addPages();
  addMenus();
  if (!restoreGeometry(settings_.geometry())) resize(1000, 720);
  showPage(settings_.page());
  QObject::connect(tabs_, &QTabWidget::currentChanged, this, [this] { lookAgain(); });
  QObject::connect(&timer_, &QTimer::timeout, this, [this] { tick(Clock::now()); });
  if (setting_.hasTimer) timer_.start(kLook);
}

MainWindow::~MainWindow() = default;

void MainWindow::addPages() {
  processes_ = new ProcessPage(icons_, setting_.questions, [this](const QString& message) {
    statusBar()->showMessage(message, kMessageTime);
  });
  processes_->setObjectName("processes");
  tabs_->addTab(processes_, "&Processes");
}

void MainWindow::addMenus() {
  auto* window = menuBar()->addMenu("&Window");
  window->addAction("&Quit", QKeySequence::Quit, this, [this] { close(); });
  addProcessMenu();
}

void MainWindow::addProcessMenu() {
  auto* menu = menuBar()->addMenu("&Process");
  menu->addAction("&Search", QKeySequence::Find, this, [this] { processes_->search(); });
  for (const auto& signal : kProcessSignals) {
    menu->addAction(signal.action, this, [this, &signal] { processes_->signal(signal); });
  }
  menu->addAction("Change p&riority…", this, [this] { processes_->renice(); });
}

bool MainWindow::showPage(const QString& name) {
  for (int i = 0; i < tabs_->count(); ++i) {
    if (tabs_->widget(i)->objectName() != name) continue;
    tabs_->setCurrentIndex(i);
    return true;
  }
  return false;
}

QString MainWindow::page() const { return tabs_->currentWidget()->objectName(); }

Page* MainWindow::currentPage() const { return static_cast<Page*>(tabs_->currentWidget()); }

void MainWindow::comeToFront(const QString& activationToken) {
  if (!activationToken.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
}

bool MainWindow::isSeen() const {
  return isVisible() && !isMinimized() && windowHandle() != nullptr && windowHandle()->isExposed();
}

void MainWindow::lookAgain() {
  isDue_ = true;
  lastShown_ = {};
  if (setting_.hasTimer) tick(Clock::now());
}

void MainWindow::tick(Clock::time_point now) {
  const bool seen = isSeen();
  if (seen) lastSeen_ = now;
  const bool watches = seen || (watching_ && now - lastSeen_ < kLeaveAfter);
  if (!watches) {
    if (watching_) processes_->leave();
    watching_.reset();
    return;
  }
  if (!watching_) watching_.emplace(store_, setting_.startsHelper);
  isDue_ = watching_->refresh(now) || isDue_;
  // The lists of a cycle come one after the other: a picture of them all is cheaper than one each.
  if (!seen || !isDue_ || now - lastShown_ < kBetweenPictures) return;
  isDue_ = false;
  lastShown_ = now;
  currentPage()->refresh(*watching_);
}

bool MainWindow::event(QEvent* event) { return QMainWindow::event(event); }

void MainWindow::closeEvent(QCloseEvent* event) {
  settings_.setGeometry(saveGeometry());
  settings_.setPage(page());
  QMainWindow::closeEvent(event);
}

}  // namespace tarvel::viewer
