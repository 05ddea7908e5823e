#include "programs/window/window_settings.h"

#include <QFileInfo>

#include "settings/viewer_settings.h"

namespace tarvel::viewer {
namespace {

QString ownPath() {
  const auto shared = QString::fromStdString(settingsPath());
  return shared.isEmpty() ? QString() : QFileInfo(shared).path() + "/window.ini";
}

}  // namespace

WindowSettings::WindowSettings() : own_(ownPath(), QSettings::IniFormat) {}

Choices WindowSettings::shared() const {
  const auto stored = loadSettings(settingsPath()).settings.choices;
  Choices choices;
  choices.isFahrenheit = stored.isFahrenheit;
  choices.showsHidden = stored.showsHidden;
  choices.aliases = stored.aliases;
  return choices;
}

bool WindowSettings::share(const Choices& choices) {
  const std::string path = settingsPath();
  auto [settings, fault] = loadSettings(path);
  if (fault) return false;
  settings.choices.isFahrenheit = choices.isFahrenheit;
  settings.choices.showsHidden = choices.showsHidden;
  settings.choices.aliases = choices.aliases;
  return saveSettings(settings, path);
}

// A list, because the names of sensors may hold what stands for a group in such a file.
WindowSettings::Thresholds WindowSettings::thresholds() const {
  Thresholds thresholds;
  for (const auto& entry : own_.value("thresholds").toStringList()) {
    bool isNumber = false;
    const double value = entry.section(' ', 0, 0).toDouble(&isNumber);
    const QString row = entry.section(' ', 1);
    if (isNumber && !row.isEmpty()) thresholds[row.toStdString()] = value;
  }
  return thresholds;
}

void WindowSettings::setThresholds(const Thresholds& thresholds) {
  QStringList entries;
  for (const auto& [row, value] : thresholds) {
    entries.append(QString::number(value) + " " + QString::fromStdString(row));
  }
  own_.setValue("thresholds", entries);
}

}  // namespace tarvel::viewer
