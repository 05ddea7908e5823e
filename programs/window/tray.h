#pragma once

#include <QMenu>
#include <QString>
#include <QSystemTrayIcon>
#include <functional>

#include "programs/window/figures.h"

namespace tarvel::viewer {

// The icon in the desktop's tray, a reading as a few characters; and messages on the desktop.
class Tray {
 public:
  struct Hooks {
    std::function<void()> toggleWindow;
    std::function<void()> quit;
  };

  explicit Tray(const Hooks& hooks);

  // Whether the desktop has a tray, and the icon stands there.
  bool isThere() const;

  void setShown(bool isShown);

  // Drawn where it differs from what is shown.
  void show(const TrayReading& reading);

  // By the tray's own message where it can, else by notify-send.
  void notify(const QString& title, const QString& text);

 private:
  QMenu menu_;
  QSystemTrayIcon icon_;
  QString text_;
};

}  // namespace tarvel::viewer
