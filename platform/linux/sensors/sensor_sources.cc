#include "platform/linux/sensors/sensor_sources.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/host/smc_record.h"
#include "platform/linux/sensors/key_sensors.h"
#include "platform/linux/sensors/sensor_map.h"
#include "platform/linux/sensors/sensor_scan.h"
#include "platform/linux/sysfs.h"

namespace tarvel {
namespace {

constexpr std::size_t kMostFans = 10;

class Sources {
 public:
  explicit Sources(const std::string& root)
      : scan_(scanSensors(root, openKeyAtIndex, nvidia_)),
        sensors_(mapChips(scan_.chips, scan_.controller != nullptr, realSensorClock())) {}

  std::vector<SensorSource> of(std::span<const std::string_view> keys) {
    std::vector<SensorSource> found;
    const auto readingOf = [this](const std::vector<SensorRef>& parts) { return reading(parts); };
    for (const auto key : keys) {
      const auto code = smc_record::codeOf(key);
      if (isInController(code)) {
        found.push_back(controllerSource(key));
      } else if (const auto* candidate = chosenCandidate(sensors_, code, readingOf)) {
        found.push_back(source(candidate->parts.front()));
        found.back().reading = reading(candidate->parts).value_or(0);
        found.back().key = key;
      }
    }
    appendFans(found);
    return found;
  }

 private:
  std::optional<double> reading(const std::vector<SensorRef>& parts) {
    std::optional<double> sum;
    for (const auto& part : parts) {
      auto& device = *sensors_.devices[part.device];
      if (device.ask(part.sensor)) {
        device.read();
        device.publish();
      }
      const auto number = device.reading(part.sensor);
      if (number) sum = sum.value_or(0) + *number;
    }
    return sum;
  }

  bool isInController(std::uint32_t key) {
    if (!scan_.controller) return false;
    scan_.controller->want(key);
    scan_.controller->read();
    scan_.controller->publish();
    return scan_.controller->value(key).has_value();
  }

  std::string controllerFanName(const std::string& key) {
    std::string name;
    if (!isInController(smc_record::codeOf(key))) return name;
    const auto value = scan_.controller->value(smc_record::codeOf(key)).value_or(ControllerValue());
    for (const auto byte : value.bytes) {
      if (byte > ' ' && byte <= '~') name.push_back(static_cast<char>(byte));
    }
    return name;
  }

  SensorSource controllerSource(std::string_view key) const {
    const auto chip = std::ranges::find(scan_.chips, "applesmc", &Chip::name);
    return {
        std::string(key), {}, "applesmc", std::string(key), chip->path + "/key_at_index", {}, 0};
  }

  SensorSource source(const SensorRef& ref) const {
    const Chip& chip = scan_.chips[ref.device];
    const std::string& file = sensors_.devices[ref.device]->file(ref.sensor).path;
    const auto input = std::ranges::find_if(
        chip.inputs, [&](const ChipInput& candidate) { return candidate.file.path == file; });
    SensorSource found{{}, {}, chip.name, {}, file, {}, 0};
    if (input != chip.inputs.end()) {
      found.label =
          input->label.empty() ? input->kind + std::to_string(input->number) : input->label;
    }
    if (matchesPattern(kDriveChips, chip.name)) {
      found.model = readAttribute(chip.path + "/device/model");
      found.model.erase(found.model.find_last_not_of(' ') + 1);
    }
    return found;
  }

  // A real controller's fans have its names; those of other chips have ours.
  void appendFans(std::vector<SensorSource>& found) {
    std::size_t index = 0;
    for (std::string key = "F0Ac"; isInController(smc_record::codeOf(key)); ++key[1]) {
      found.push_back(controllerSource(key));
      found.back().fanName = controllerFanName(key.substr(0, 2) + "ID");
    }
    for (const auto& fan : sensors_.fans) {
      const double speed = reading({fan.input}).value_or(0);
      if (!isThere(sensors_, fan) || index == kMostFans) continue;
      found.push_back(source(fan.input));
      found.back().reading = speed;
      found.back().fanName = fan.name;
      found.back().key = "F" + std::to_string(index++) + "Ac";
    }
  }

  NvidiaCards nvidia_;
  SensorScan scan_;
  KeySensors sensors_;
};

}  // namespace

std::vector<SensorSource> sensorSources(std::span<const std::string_view> keys,
                                        const std::string& root) {
  return Sources(root).of(keys);
}

}  // namespace tarvel
