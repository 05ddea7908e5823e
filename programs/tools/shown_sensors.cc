#include "programs/tools/shown_sensors.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <utility>

#include "platform/linux/sysfs.h"
#include "sensors/electrical_keys.h"
#include "sensors/fan_names.h"
#include "sensors/temperature_keys.h"
#include "smart/ata_data.h"

namespace tarvel::tools {
namespace {

constexpr std::string_view kCore = "CPU Core";

struct Panel {
  std::string_view name;
  SensorNames sensors;
};

constexpr Panel kPanels[] = {{"temperatures", kTemperatures},
                             {"fans", kFanNames},
                             {"voltages", kVoltages},
                             {"currents", kCurrents},
                             {"powers", kPowers}};

std::vector<std::string_view> allKeys() {
  std::vector<std::string_view> keys;
  for (const auto& panel : kPanels) {
    if (panel.name == "fans") continue;
    for (const auto& [key, display] : panel.sensors) {
      if (std::ranges::find(keys, key) == keys.end()) keys.push_back(key);
    }
  }
  return keys;
}

// As the catalogues name it. Of the temperatures, cores are numbered and what is below 1 degree is
// not shown.
std::optional<ShownSensor> shown(SensorSource source, int& cores) {
  if (!source.fanName.empty() || source.key.starts_with('F')) {
    std::string own = source.fanName.empty() ? std::string("Fan ") + source.key[1] : source.fanName;
    std::string name(displayName(kFanNames, own).value_or(own));
    return ShownSensor{"fans", std::move(name), std::move(source)};
  }
  for (const auto& panel : kPanels) {
    const auto display = displayName(panel.sensors, source.key);
    if (!display) continue;
    std::string name(*display);
    if (panel.name == "temperatures") {
      if (source.reading < 1) return std::nullopt;
      if (name == kCore) name += " " + std::to_string(++cores);
    }
    return ShownSensor{panel.name, std::move(name), std::move(source)};
  }
  return std::nullopt;
}

std::string modelOf(const AtaDisk& disk) {
  const std::string identify = cachedIdentifyData(disk);
  std::array<std::uint8_t, 512> block{};
  if (identify.size() == block.size()) {
    std::ranges::transform(identify, block.begin(),
                           [](char c) { return static_cast<std::uint8_t>(c); });
    if (auto model = modelName(block)) return *std::move(model);
  }
  std::string model = readAttribute(disk.folder + "/model");
  return model.erase(model.find_last_not_of(' ') + 1);
}

ShownSensor shownDisk(const AtaDisk& disk, const AtaDiskRoots& roots) {
  SensorSource source;
  source.file = drivetempFile(disk);
  source.chip = source.file.empty() ? "S.M.A.R.T." : "drivetemp";
  source.label = disk.name;
  if (source.file.empty()) source.file = roots.dev + "/" + disk.name;
  source.model = modelOf(disk);
  return {"temperatures", "HDD", std::move(source)};
}

}  // namespace

std::vector<ShownSensor> shownSensors(const std::string& sysRoot, const AtaDiskRoots& disks) {
  std::vector<ShownSensor> list;
  int cores = 0;
  for (auto& source : sensorSources(allKeys(), sysRoot)) {
    if (auto sensor = shown(std::move(source), cores)) list.push_back(*std::move(sensor));
  }
  for (const auto& disk : listAtaDisks(disks)) list.push_back(shownDisk(disk, disks));
  std::ranges::stable_sort(list, {}, [](const ShownSensor& sensor) {
    return std::ranges::find(kPanels, sensor.panel, &Panel::name) - std::begin(kPanels);
  });
  return list;
}

}  // namespace tarvel::tools
