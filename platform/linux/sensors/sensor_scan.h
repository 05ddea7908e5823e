#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/sensors/nvidia_cards.h"
#include "platform/linux/sensors/raw_controller.h"
#include "platform/linux/sensors/sensor_chips.h"

// One look at the sensors of a machine. Any thread; drivers may make it wait.

namespace tarvel {

using ControllerOpener = std::function<std::unique_ptr<KeyAtIndex>(const std::string& folder)>;

struct SensorScan {
  std::vector<Chip> chips;
  std::shared_ptr<RawController> controller;  // a real one, where its raw interface may be used
};

SensorScan scanSensors(const std::string& root, const ControllerOpener& open, NvidiaCards& nvidia);

// Where the controller's keys come from.
enum class ControllerSource {
  none,
  mapped,    // sensors that stand for keys
  labelled,  // a real controller, by the values that its driver labels
  raw,       // a real controller, every key of it
};

ControllerSource controllerSource(const SensorScan& scan);

}  // namespace tarvel
