#pragma once

#include <array>
#include <string_view>

// The names that the helper and its viewers meet under: the shared store's keys, the panels, the
// applications of the product.

namespace tarvel {

// The suite of the shared store, and the application group whose container holds the icons.
inline constexpr std::string_view kSuiteName = "QX8JD3LW6H.com.Tarvel";

inline constexpr std::string_view kHelperIdentifier = "com.Tarvel.Helper";
inline constexpr std::string_view kViewerIdentifier = "com.Tarvel";
inline constexpr std::string_view kWidgetIdentifier = "com.Tarvel.Widget";

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

// The folder of the application icons, inside the group container.
inline constexpr std::string_view kIconDirectory = "/Library/Caches/Icons/";

}  // namespace tarvel
