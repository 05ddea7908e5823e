#pragma once

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <map>
#include <string>

#include "viewer/display_rows.h"

// What the window keeps: its own in window.ini beside the viewers' settings file, and of that file
// what all viewers share, the unit of temperatures, the names given to sensors and whether hidden
// ones are shown. What cannot be written is forgotten at the end.

namespace tarvel::viewer {

class WindowSettings {
 public:
  WindowSettings();

  // The shared ones, as they are in the file now. A file that is none leaves the usual values.
  Choices shared() const;
  // Writes those three; false where the file takes no writes or is broken: then it stays as it is.
  bool share(const Choices& choices);

  QByteArray geometry() const { return own_.value("geometry").toByteArray(); }
  void setGeometry(const QByteArray& geometry) { own_.setValue("geometry", geometry); }
  QString page() const { return own_.value("page").toString(); }
  void setPage(const QString& page) { own_.setValue("page", page); }
  bool groupsProcesses() const { return own_.value("groupsProcesses").toBool(); }
  void setGroupsProcesses(bool groups) { own_.setValue("groupsProcesses", groups); }

  // What the tray shows: "processor", "memory", the identity of a sensor's row, or "" for no icon.
  QString trayReading() const { return own_.value("tray/reading", "processor").toString(); }
  void setTrayReading(const QString& reading) { own_.setValue("tray/reading", reading); }
  // Whether the window goes into the tray when it is closed.
  bool staysInTray() const { return own_.value("tray/stays").toBool(); }
  void setStaysInTray(bool stays) { own_.setValue("tray/stays", stays); }

  // By identity of a sensor's row; in the unit of the store.
  using Thresholds = std::map<std::string, double>;
  Thresholds thresholds() const;
  void setThresholds(const Thresholds& thresholds);

 private:
  QSettings own_;
};

}  // namespace tarvel::viewer
