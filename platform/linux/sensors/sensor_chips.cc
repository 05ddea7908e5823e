#include "platform/linux/sensors/sensor_chips.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/linux/sensors/sensor_map.h"

namespace tarvel {
namespace {

constexpr const char* kClasses[] = {"hwmon", "power_supply", "powercap", "thermal"};
constexpr double kMilli = 1000;
constexpr double kMicro = 1'000'000;

std::string classFolder(const std::string& root, std::string_view name) {
  return root + "/class/" + std::string(name);
}

// "temp12_input" or "power1_average" as the kind and its number.
std::optional<std::pair<std::string, int>> inputOfFile(std::string_view name) {
  const auto digits = name.find_first_of("0123456789");
  const auto bar = name.find('_');
  if (digits == name.npos || bar == name.npos || digits > bar) return std::nullopt;
  const auto kind = name.substr(0, digits);
  const auto what = name.substr(bar);
  if (what != "_input" && !(what == "_average" && kind == "power")) return std::nullopt;
  constexpr std::string_view kinds[] = {"temp", "in", "curr", "power", "energy", "fan"};
  if (std::ranges::find(kinds, kind) == std::end(kinds)) return std::nullopt;
  const auto number = leadingInteger(name.substr(digits, bar - digits));
  return std::pair(std::string(kind), static_cast<int>(number.value_or(0)));
}

SensorFile sensorFile(const std::string& chip, const std::string& path, std::string_view kind) {
  SensorFile file{path};
  file.unitsPerOne = kind == "fan" ? 1 : kind == "power" ? kMicro : kMilli;
  // A controller's place without a sensor reads -127 or -128 degrees.
  if (chip == "applesmc" && kind == "temp") file.lowest = -126'999;
  file.isWhole = kind == "temp" && matchesPattern(kWholeKelvinChips, chip);
  file.isZeroAsleep = kind != "temp" && kind != "in";
  if (kind == "energy") {
    file.lowest = 0;
    file.energyRange = std::numeric_limits<std::int64_t>::max();
  }
  if (kind == "fan") file.highest = std::numeric_limits<std::uint16_t>::max() - 1;  // that: none
  if (chip == "power_meter") file.highest = 4'294'967'294'999;  // the next means none
  return file;
}

std::vector<ChipInput> hwmonInputs(const Chip& chip) {
  std::map<std::pair<std::string, int>, ChipInput> inputs;
  for (const auto& name : folderNames(chip.path)) {
    const auto input = inputOfFile(name);
    if (!input) continue;
    auto [kind, number] = *input;
    const std::string prefix = chip.path + "/" + kind + std::to_string(number);
    if (name.ends_with("_average") && inputs.contains(*input)) continue;
    const auto file = sensorFile(chip.name, chip.path + "/" + name, kind);
    inputs[*input] = ChipInput{kind, number, readAttribute(prefix + "_label"), file};
  }
  std::vector<ChipInput> list;
  for (auto& [id, input] : inputs) list.push_back(std::move(input));
  return list;
}

void addHwmonChip(const std::string& folder, std::vector<Chip>& chips) {
  Chip chip;
  const std::string device = resolvedPath(folder + "/device");
  chip.path = resolvedPath(folder);
  chip.name = readAttribute(chip.path + "/name");
  if (chip.name.empty() || chip.name == "applesmc") {
    // Old drivers, and this one, keep everything in the device's folder.
    chip.path = device;
    if (chip.name.empty()) chip.name = readAttribute(device + "/name");
  }
  if (chip.name.empty() || chip.path.empty()) return;
  if (matchesPattern(kGraphicsChips, chip.name) && !device.empty()) {
    chip.statusFile = device + "/power/runtime_status";
  }
  chip.inputs = hwmonInputs(chip);
  const bool integrated = std::ranges::any_of(
      chip.inputs, [](const ChipInput& input) { return input.label == "vddnb"; });
  if (chip.name == "amdgpu" && integrated) chip.name = "amdgpu integrated";
  chips.push_back(std::move(chip));
}

void addSupply(const std::string& folder, std::vector<Chip>& chips) {
  if (readAttribute(folder + "/type") != "Battery") return;
  if (readAttribute(folder + "/scope") == "Device") return;  // that of a mouse or a headset
  Chip chip;
  chip.name = "battery";
  chip.path = resolvedPath(folder);
  const auto names = folderNames(chip.path);
  const auto add = [&](const char* kind, const char* name, double unitsPerOne) {
    if (!std::ranges::binary_search(names, name)) return false;
    SensorFile file{chip.path + "/" + name, unitsPerOne};
    if (kind == std::string_view("curr") || kind == std::string_view("power")) {
      file.statusFile = chip.path + "/status";
    }
    chip.inputs.push_back(ChipInput{kind, 1, {}, std::move(file)});
    return true;
  };
  add("temp", "temp", 10);
  add("in", "voltage_now", kMicro);
  add("curr", "current_now", kMicro);
  if (!add("power", "power_now", kMicro) && add("power", "current_now", kMicro)) {
    chip.inputs.back().file.factorFile = chip.path + "/voltage_now";
  }
  chips.push_back(std::move(chip));
}

void addPowercapZone(const std::string& folder, std::vector<Chip>& chips) {
  const std::string path = resolvedPath(folder);
  // The same counters once more, by another way.
  if (path.find("intel-rapl-mmio") != path.npos) return;
  const auto range = leadingInteger(readAttribute(path + "/max_energy_range_uj"));
  if (!range || *range <= 0) return;
  SensorFile file{path + "/energy_uj"};
  file.energyRange = *range;
  file.lowest = 0;
  // All zones are one chip, so that their first readings wait together.
  if (chips.empty() || chips.back().name != "powercap") {
    chips.push_back(Chip{"powercap", path, {}, {}});
  }
  auto& inputs = chips.back().inputs;
  inputs.push_back(ChipInput{"energy", static_cast<int>(inputs.size()) + 1,
                             readAttribute(path + "/name"), std::move(file)});
}

// The class holds cooling devices as well, some with the name of a chip that has a sensor.
void addThermalZone(const std::string& folder, std::vector<Chip>& chips) {
  if (folder.find("/thermal_zone") == folder.npos) return;
  Chip chip{readAttribute(folder + "/type"), resolvedPath(folder), {}, {}};
  if (chip.name.empty()) return;
  chip.inputs.push_back(ChipInput{"temp", 1, {}, SensorFile{chip.path + "/temp", kMilli}});
  chips.push_back(std::move(chip));
}

}  // namespace

std::vector<Chip> listChips(const std::string& root) {
  constexpr std::array add = {addHwmonChip, addSupply, addPowercapZone, addThermalZone};
  std::vector<Chip> chips;
  for (std::size_t i = 0; i < add.size(); ++i) {
    const std::string folder = classFolder(root, kClasses[i]);
    for (const auto& name : folderNames(folder)) add[i](folder + "/" + name, chips);
  }
  std::ranges::stable_sort(chips, {}, &Chip::path);
  return chips;
}

std::string chipListing(const std::string& root) {
  // The sensors of a core come and go with it.
  std::string listing = readAttribute(root + "/devices/system/cpu/online") + "\n";
  for (const char* name : kClasses) {
    for (const auto& entry : folderNames(classFolder(root, name))) listing += entry + "/";
    listing += "\n";
  }
  return listing;
}

}  // namespace tarvel
