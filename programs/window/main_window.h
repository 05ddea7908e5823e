#pragma once

#include <QMainWindow>
#include <QTimer>
#include <functional>
#include <optional>
#include <string>

#include "programs/window/alarms.h"
#include "programs/window/icons.h"
#include "programs/window/process_actions.h"
#include "programs/window/tray.h"
#include "programs/window/watching.h"
#include "programs/window/window_settings.h"
#include "viewer/machine/machine_reader.h"

class QTabWidget;

namespace tarvel::viewer {

class OverviewPage;
class Page;
class PanelPage;
class ProcessPage;
class SensorPage;

// The window with its pages, and what is watched for it and for the tray. While nobody sees it
// nothing is drawn, and some seconds later it is no viewer any more, unless a sensor stands in the
// tray or has a threshold. Panels are those of all viewers, so it then keeps all that are on. The
// totals of the machine are read by the window itself and take no helper.
class MainWindow : public QMainWindow {
 public:
  using Clock = Watching::Clock;
  using Notify = std::function<void(const QString& title, const QString& text)>;

  // What a test answers for the user and the desktop; empty members are dialogs and the desktop's
  // messages.
  struct Setting {
    Questions questions;
    std::function<std::optional<QString>(const QString& sensor, const QString& now)> askName;
    Notify notify;
    bool startsHelper = true;
    bool hasTimer = true;  // without one, tick() is the owner's to call
  };

  // Store and settings outlive the window.
  MainWindow(DefaultsStore& store, WindowSettings& settings, Setting setting);
  ~MainWindow() override;

  // "overview", "processes", "sensors" and "panels".
  static bool isPage(const QString& name);
  // False for another name.
  bool showPage(const QString& name);
  QString page() const;

  // In the tray, and minimised where there is none.
  void startHidden();

  // To the front. On Wayland the token of whoever asks allows it.
  void comeToFront(const QString& activationToken);

  // Looks for what is new and shows it.
  void tick(Clock::time_point now);

  bool isWatching() const { return watching_.has_value(); }

 protected:
  void changeEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void fillSetting();
  void addPages();
  void addPage(Page* page, const QString& name, const QString& title);
  void addMenus();
  void addWindowMenu();
  void addViewMenu();
  void addProcessMenu();
  void addSensorMenu();
  void enableActions();
  void showKeys();
  void applySettings();
  void setShared(const std::function<void(Choices&)>& change);
  void setTrayReading(const QString& reading);
  void toggleWindow();
  void tell(const QString& message);

  bool isSeen() const;
  bool needsSensors() const;
  void lookAgain();
  void setTimer(bool isSeen);
  void leavePages();
  void watch(Clock::time_point now, bool isSeen);
  void takeNews(Clock::time_point now);
  void showNews();
  Page* currentPage() const;
  void checkAlarms(Clock::time_point now);
  void showInTray(Clock::time_point now);

  DefaultsStore& store_;
  WindowSettings& settings_;
  Setting setting_;
  ApplicationIcons icons_;
  Alarms alarms_;
  Tray tray_;
  QString trayReading_;
  std::optional<Watching> watching_;
  std::optional<MachineReader> unwatched_;  // the totals for the tray while nothing is watched
  Clock::time_point lastUnwatched_;
  Clock::time_point lastSeen_;
  std::optional<Clock::time_point> newsSince_;  // and not shown yet
  bool isDue_ = false;
  QTimer timer_;
  QTabWidget* tabs_;
  ProcessPage* processes_ = nullptr;
  SensorPage* sensors_ = nullptr;
  QMenu* processMenu_ = nullptr;
  QMenu* sensorMenu_ = nullptr;
};

}  // namespace tarvel::viewer
