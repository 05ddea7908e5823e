#pragma once

#include <array>
#include <cstddef>
#include <string_view>

// The keys of the shared store: what viewers write there for the helper, and the readings that the
// helper writes for them.

namespace tarvel {

// Written by viewers. "Panels" is an array of entries [panel name, enabled flag, …]; an entry is
// enabled exactly when its flag is the string "1". The requests are booleans.
inline constexpr std::string_view kPanelsKey = "Panels";
inline constexpr std::string_view kCheckHelperUpdatesKey = "CheckHelperUpdates";
inline constexpr std::string_view kUninstallHelperKey = "UninstallHelper";
inline constexpr std::string_view kClearSensorsKey = "ClearSensors";

// Written by the helper. The readings are keyed archives: process lists of tagged texts, fans as
// [name, [current, minimum, maximum, viewer flag]], other sensors as [name, reading, viewer flag].
inline constexpr std::string_view kTarvelHelperVersionKey = "TarvelHelperVersion";
inline constexpr std::string_view kCPUAppUsageKey = "CPUAppUsage";
inline constexpr std::string_view kMEMAppUsageKey = "MEMAppUsage";
inline constexpr std::string_view kEnergyAppUsageKey = "EnergyAppUsage";
inline constexpr std::string_view kFanSpeedValuesKey = "FanSpeedValues";
inline constexpr std::string_view kTempValuesKey = "TempValues";
inline constexpr std::string_view kVoltageValuesKey = "VoltageValues";
inline constexpr std::string_view kPowerValuesKey = "PowerValues";
inline constexpr std::string_view kCurrentValuesKey = "CurrentValues";

struct Panel {
  std::string_view name;        // an entry names the panel when its element 0 contains this
  std::string_view readingKey;  // where the panel's readings are
};

// In the order in which a cycle tests them.
inline constexpr std::array<Panel, 8> kPanelTable = {{
    {"ProcessesDash", kCPUAppUsageKey},
    {"AllocationDash", kMEMAppUsageKey},
    {"EnergyDash", kEnergyAppUsageKey},
    {"FansDash", kFanSpeedValuesKey},
    {"TempsDash", kTempValuesKey},
    {"VoltageSensorsDash", kVoltageValuesKey},
    {"PowerSensorsDash", kPowerValuesKey},
    {"CurrentSensorsDash", kCurrentValuesKey},
}};

// Whether a table with a member `panel` has one row for each panel, in the same order. Tables that
// say more about panels assert it, so that they cannot drift apart.
constexpr bool isOrderedAsPanels(const auto& rows) {
  if (rows.size() != kPanelTable.size()) return false;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].panel != kPanelTable[i].name) return false;
  }
  return true;
}

}  // namespace tarvel
