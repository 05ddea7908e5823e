#pragma once

#include <QMainWindow>
#include <QTimer>
#include <array>
#include <cstddef>
#include <optional>

#include "programs/window/icons.h"
#include "programs/window/process_actions.h"
#include "programs/window/watching.h"
#include "programs/window/window_settings.h"

class QTabWidget;

namespace tarvel::viewer {

class Page;
class ProcessPage;

// The window with its pages, and what is watched for it. While nobody sees it, nothing is drawn,
// and some seconds later it is no viewer any more.
class MainWindow : public QMainWindow {
 public:
  using Clock = Watching::Clock;

  struct Setting {
    Questions questions;  // empty ones are asked in dialogs
    bool startsHelper = true;
    bool hasTimer = true;  // without one, tick() is the owner's to call
  };

  // Store and settings outlive the window.
  MainWindow(DefaultsStore& store, WindowSettings& settings, Setting setting);
  ~MainWindow() override;

  // "overview", "processes", "sensors" or "panels"; false for another name.
  bool showPage(const QString& name);
  QString page() const;

  // To the front. On Wayland the token of whoever asks allows it.
  void comeToFront(const QString& activationToken);

  // Looks for what is new and shows it.
  void tick(Clock::time_point now);

  bool isWatching() const { return watching_.has_value(); }

 protected:
  bool event(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void addPages();
  void addMenus();
  void addProcessMenu();
  bool isSeen() const;
  Page* currentPage() const;
  void lookAgain();

  DefaultsStore& store_;
  WindowSettings& settings_;
  Setting setting_;
  ApplicationIcons icons_;
  std::optional<Watching> watching_;
  Clock::time_point lastSeen_;
  Clock::time_point lastShown_;
  bool isDue_ = false;
  QTimer timer_;
  QTabWidget* tabs_;
  ProcessPage* processes_ = nullptr;
};

}  // namespace tarvel::viewer
