#pragma once

#include <QString>
#include <optional>
#include <string>
#include <string_view>

#include "viewer/display_rows.h"
#include "viewer/machine/machine_totals.h"
#include "viewer/model.h"

// Figures as texts, wherever the window shows them. Pure.

namespace tarvel::viewer {

QString percentText(double share);
QString amountText(double bytes);
QString rateText(double bytesASecond);
QString loadText(const Load& load);

// The machine in a line: how long it is up, its battery, its full file systems.
QString stateText(const MachineTotals& totals);

// A number of the sensors under this reading key, in the unit and with the decimals of a value that
// is shown of them; temperatures are converted.
QString sensorText(std::string_view key, double celsiusOrOther, const std::string& shownValue,
                   bool isFahrenheit);
double shownDegrees(double celsius, bool isFahrenheit);
double celsius(double shownDegrees, bool isFahrenheit);

// A sensor's row by its identity, with the panel that it stands in; none where it is not there.
struct FoundRow {
  const PanelView* panel = nullptr;
  const DisplayRow* row = nullptr;
  explicit operator bool() const { return row != nullptr; }
};
FoundRow sensorRow(const Model& model, std::string_view id);

// What the tray shows of a reading: a few characters, and a line.
struct TrayReading {
  QString text;
  QString line;
};
inline constexpr std::string_view kTrayProcessor = "processor";
inline constexpr std::string_view kTrayMemory = "memory";
TrayReading machineReading(std::string_view which, const MachineTotals& totals);
TrayReading sensorReading(const FoundRow& found);

}  // namespace tarvel::viewer
