#include "programs/window/figures.h"

#include <QStringList>
#include <array>
#include <cmath>
#include <cstdio>

#include "product/store_keys.h"
#include "viewer/machine/amounts.h"
#include "viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

constexpr double kFahrenheitPerCelsius = 1.8;
constexpr double kFahrenheitOfZero = 32;

int decimalsOf(const std::string& value) {
  const auto point = value.find('.');
  if (point == std::string::npos) return 0;
  const auto end = value.find_first_not_of("0123456789", point + 1);
  return static_cast<int>((end == std::string::npos ? value.size() : end) - point - 1);
}

QString batteryText(const Battery& battery) {
  QString text = "battery " + percentText(battery.charge);
  const bool charges = battery.state == Battery::State::kCharging;
  if (charges) text += ", charging";
  if (battery.left) {
    text += QString(", %1 %2").arg(QString::fromStdString(hoursText(*battery.left)),
                                   charges ? "to full" : "left");
  }
  return text;
}

// Three characters at most, such as "47", "2k6" and "1.1".
QString shortText(double number) {
  constexpr double kKilo = 1000;
  if (std::abs(number) >= kKilo) {
    return QString::number(number / kKilo, 'f', number < 10 * kKilo ? 1 : 0).replace('.', 'k');
  }
  return QString::number(number, 'f',
                         std::abs(number) < 10 && number != std::round(number) ? 1 : 0);
}

}  // namespace

QString percentText(double share) { return QString("%1 %").arg(share * 100, 0, 'f', 0); }

QString amountText(double bytes) { return QString::fromStdString(bytesText(bytes)); }

QString rateText(double bytesASecond) { return amountText(bytesASecond) + "/s"; }

QString loadText(const Load& load) {
  return QString("load %1  %2  %3")
      .arg(load.one, 0, 'f', 2)
      .arg(load.five, 0, 'f', 2)
      .arg(load.fifteen, 0, 'f', 2);
}

QString stateText(const MachineTotals& totals) {
  QStringList parts = {"Up " + QString::fromStdString(durationText(totals.uptime))};
  if (totals.battery) parts << batteryText(*totals.battery);
  for (const auto& system : totals.nearlyFull) {
    parts << QString("%1 is %2 full, %3 left")
                 .arg(QString::fromStdString(system.path), percentText(system.used),
                      amountText(static_cast<double>(system.available)));
  }
  return parts.join("  ·  ");
}

double shownDegrees(double celsius, bool isFahrenheit) {
  return isFahrenheit ? celsius * kFahrenheitPerCelsius + kFahrenheitOfZero : celsius;
}

double celsius(double shownDegrees, bool isFahrenheit) {
  return isFahrenheit ? (shownDegrees - kFahrenheitOfZero) / kFahrenheitPerCelsius : shownDegrees;
}

// Rounded as the values are that stand beside them (display_rows.cc): halves to even numbers.
QString sensorText(std::string_view key, double celsiusOrOther, const std::string& shownValue,
                   bool isFahrenheit) {
  const bool isTemperature = key == kTempValuesKey;
  const double number = isTemperature ? shownDegrees(celsiusOrOther, isFahrenheit) : celsiusOrOther;
  const int decimals = isTemperature ? 0 : decimalsOf(shownValue);
  const auto unit = isTemperature && isFahrenheit ? std::string_view("°F") : unitOf(key);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f %.*s", decimals, number,
                static_cast<int>(unit.size()), unit.data());
  return QString::fromUtf8(text.data());
}

FoundRow sensorRow(const Model& model, std::string_view id) {
  for (const auto& panel : model.panels()) {
    if (panel.isList || !id.starts_with(panel.key)) continue;
    for (const auto& row : panel.rows) {
      if (row.id == id) return {&panel, &row};
    }
  }
  return {};
}

TrayReading machineReading(std::string_view which, const MachineTotals& totals) {
  if (which == kTrayProcessor && totals.processors) {
    return {QString::number(std::round(totals.processors->busy * 100)),
            "Processor " + percentText(totals.processors->busy)};
  }
  if (which == kTrayMemory && totals.memory && totals.memory->total > 0) {
    const double share =
        static_cast<double>(totals.memory->used) / static_cast<double>(totals.memory->total);
    return {QString::number(std::round(share * 100)), "Memory " + percentText(share)};
  }
  return {"–", "no reading"};
}

TrayReading sensorReading(const FoundRow& found) {
  if (!found || found.panel->isStale || !found.row->number) return {"–", "no reading"};
  const auto value = QString::fromStdString(found.row->value);
  return {shortText(value.section(' ', 0, 0).toDouble()),
          QString::fromStdString(found.row->name) + " " + value};
}

}  // namespace tarvel::viewer
