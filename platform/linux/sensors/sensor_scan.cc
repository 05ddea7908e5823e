#include "platform/linux/sensors/sensor_scan.h"

#include <algorithm>
#include <utility>

#include "platform/linux/sensors/key_sensors.h"
#include "platform/linux/sensors/sensor_map.h"

namespace tarvel {
namespace {

std::shared_ptr<RawController> usableController(const std::vector<Chip>& chips,
                                                const ControllerOpener& open) {
  for (const auto& chip : chips) {
    if (chip.name != "applesmc") continue;
    auto keys = open(chip.path);
    if (!keys) return nullptr;
    auto controller = std::make_shared<RawController>(std::move(keys));
    return controller->works() ? controller : nullptr;
  }
  return nullptr;
}

}  // namespace

SensorScan scanSensors(const std::string& root, const ControllerOpener& open, NvidiaCards& nvidia) {
  SensorScan scan;
  scan.chips = listChips(root);
  for (auto& card : nvidia.chips(root)) scan.chips.push_back(std::move(card));
  std::ranges::stable_sort(scan.chips, {}, &Chip::path);
  scan.controller = usableController(scan.chips, open);
  return scan;
}

ControllerSource controllerSource(const SensorScan& scan) {
  if (scan.controller) return ControllerSource::raw;
  if (mapChips(scan.chips, false, realSensorClock()).empty()) return ControllerSource::none;
  const bool labelled = std::ranges::any_of(
      scan.chips, [](const Chip& chip) { return matchesPattern(kControllerChips, chip.name); });
  return labelled ? ControllerSource::labelled : ControllerSource::mapped;
}

}  // namespace tarvel
