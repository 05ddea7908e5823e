#include "platform/linux/sensors/key_sensors.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string_view>
#include <utility>

#include "platform/host/smc_record.h"
#include "platform/linux/sensors/fan_labels.h"
#include "platform/linux/sensors/sensor_map.h"
#include "text/words.h"

namespace tarvel {
namespace {

bool matchesInput(const SensorRow& row, const ChipInput& input) {
  if (row.label.empty()) return row.input == input.kind + std::to_string(input.number);
  return row.input == input.kind && matchesPattern(row.label, input.label);
}

std::int64_t numberBehindStar(const SensorRow& row, const ChipInput& input) {
  if (!row.label.ends_with('*')) return input.number;
  return leadingInteger(std::string_view(input.label).substr(row.label.size() - 1)).value_or(0);
}

Quantity quantityOf(std::string_view kind) {
  if (kind == "temp") return Quantity::temperature;
  if (kind == "in") return Quantity::voltage;
  return kind == "curr" ? Quantity::current : Quantity::power;
}

class Mapper {
 public:
  Mapper(const std::vector<Chip>& chips, bool rawController) : chips_(chips) {
    files_.resize(chips.size());
    rawController_ = rawController;
    controller_ = rawController || std::ranges::any_of(chips, [](const Chip& chip) {
                    return matchesPattern(kControllerChips, chip.name);
                  });
  }

  KeySensors map(const SensorClock& clock) {
    if (!rawController_) addLabelledController();
    for (const auto& row : kSensorRows) addRow(row);
    for (std::size_t chip = 0; chip < chips_.size(); ++chip) addFans(chip);
    const auto names = fanNames(fanLabels_);
    for (std::size_t i = 0; i < names.size(); ++i) sensors_.fans[i].name = names[i];
    for (std::size_t i = 0; i < chips_.size(); ++i) {
      sensors_.devices.push_back(
          std::make_shared<FileSensors>(chips_[i].statusFile, std::move(files_[i]), clock));
    }
    return std::move(sensors_);
  }

 private:
  SensorRef refer(std::size_t chip, const SensorFile& file) {
    auto& files = files_[chip];
    const auto found = std::ranges::find(files, file);
    const SensorRef ref{chip, static_cast<std::size_t>(found - files.begin())};
    if (found == files.end()) files.push_back(file);
    return ref;
  }

  // A new list, whose keys are these; their number.
  std::size_t addList(std::string_view keys) {
    const std::size_t list = sensors_.lists.size();
    sensors_.lists.emplace_back();
    for (std::size_t place = 0; !keys.empty(); ++place) {
      const auto key = smc_record::codeOf(takeWord(keys));
      sensors_.places[key].push_back(KeyPlace{list, place});
    }
    return list;
  }

  // The labels of a controller's temperatures are their keys.
  void addLabelledController() {
    for (std::size_t chip = 0; chip < chips_.size(); ++chip) {
      if (chips_[chip].name != "applesmc") continue;
      for (const auto& input : chips_[chip].inputs) {
        if (input.kind != "temp" || input.label.size() != 4) continue;
        sensors_.lists[addList(input.label)].push_back(
            KeyCandidate{Quantity::temperature, {refer(chip, input.file)}, {}, nullptr});
      }
    }
  }

  // Where there is a controller, it alone says how warm things are and how fast fans turn.
  bool superfluous(const Chip& chip, std::string_view kind) const {
    if (!controller_ || (kind != "temp" && kind != "fan")) return false;
    if (matchesPattern(kDriveChips, chip.name) && kind == "temp") return false;
    return rawController_ || !matchesPattern(kControllerChips, chip.name);
  }

  void addRow(const SensorRow& row) {
    KeyList found;
    for (std::size_t chip = 0; chip < chips_.size(); ++chip) {
      if (!matchesPattern(row.chip, chips_[chip].name)) continue;
      for (const auto* input : inputsOf(row, chips_[chip])) {
        found.push_back(
            KeyCandidate{quantityOf(input->kind), {refer(chip, input->file)}, {}, &row});
        if (row.several == Several::whichWorks) found.back().flow = flowOf(chip);
      }
    }
    if (found.empty()) return;
    if (row.several == Several::added) found = {sumOf(found)};
    const auto known = lists_.find(row.keys);
    const auto number = known != lists_.end() ? known->second : addList(row.keys);
    lists_[row.keys] = number;
    auto& list = sensors_.lists[number];
    list.insert(list.end(), found.begin(), found.end());
  }

  // The current or power of a battery.
  std::vector<SensorRef> flowOf(std::size_t chip) {
    for (const auto& input : chips_[chip].inputs) {
      if (input.kind == "curr" || input.kind == "power") return {refer(chip, input.file)};
    }
    return {};
  }

  static KeyCandidate sumOf(const KeyList& candidates) {
    KeyCandidate sum = candidates.front();
    sum.parts.clear();
    for (const auto& candidate : candidates) sum.parts.push_back(candidate.parts.front());
    return sum;
  }

  std::vector<const ChipInput*> inputsOf(const SensorRow& row, const Chip& chip) const {
    std::vector<const ChipInput*> inputs;
    for (const auto& input : chip.inputs) {
      if (matchesInput(row, input) && !superfluous(chip, input.kind)) inputs.push_back(&input);
    }
    std::ranges::stable_sort(inputs, {},
                             [&](const ChipInput* input) { return numberBehindStar(row, *input); });
    return inputs;
  }

  void addFans(std::size_t chip) {
    if (superfluous(chips_[chip], "fan")) return;
    for (const auto& input : chips_[chip].inputs) {
      if (input.kind != "fan") continue;
      const std::string prefix =
          input.file.path.substr(0, input.file.path.size() - std::string_view("input").size());
      FanSensors fan{{}, refer(chip, input.file), {}, {}, false};
      fan.minimum = limitOf(chip, prefix + "min");
      fan.maximum = limitOf(chip, prefix + "max");
      fan.mayBeUnused = matchesPattern(kChipsOfUnusedFans, chips_[chip].name);
      sensors_.fans.push_back(std::move(fan));
      fanLabels_.push_back(FanLabel{input.label, chips_[chip].name, input.number});
    }
  }

  std::vector<SensorRef> limitOf(std::size_t chip, const std::string& path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return {};
    return {refer(chip, SensorFile{path})};
  }

  const std::vector<Chip>& chips_;
  bool rawController_ = false;
  bool controller_ = false;
  std::vector<std::vector<SensorFile>> files_;     // of each chip
  std::map<std::string_view, std::size_t> lists_;  // by the keys of their rows
  std::vector<FanLabel> fanLabels_;
  KeySensors sensors_;
};

const KeyCandidate* candidateAt(const KeyList& list, std::size_t place,
                                const ReadingOf& readingOf) {
  const KeyCandidate* idle = nullptr;
  for (auto candidate = list.begin(); candidate != list.end(); ++candidate) {
    const bool isServed = std::any_of(list.begin(), candidate, [&](const KeyCandidate& earlier) {
      return candidate->isAlternativeTo(earlier) && readingOf(earlier.parts);
    });
    if (!readingOf(candidate->parts) || isServed) continue;
    if (place > 0) {
      --place;
      continue;
    }
    const bool works = candidate->flow.empty() || readingOf(candidate->flow).value_or(0) != 0;
    if (works) return &*candidate;
    if (idle == nullptr) idle = &*candidate;
  }
  return idle;
}

}  // namespace

KeySensors mapChips(const std::vector<Chip>& chips, bool rawController, const SensorClock& clock) {
  return Mapper(chips, rawController).map(clock);
}

const KeyCandidate* chosenCandidate(const KeySensors& sensors, std::uint32_t key,
                                    const ReadingOf& readingOf) {
  const auto places = sensors.places.find(key);
  if (places == sensors.places.end()) return nullptr;
  for (const auto& [list, place] : places->second) {
    const auto* candidate = candidateAt(sensors.lists[list], place, readingOf);
    if (candidate != nullptr) return candidate;
  }
  return nullptr;
}

bool isThere(const KeySensors& sensors, const FanSensors& fan) {
  const auto& device = *sensors.devices[fan.input.device];
  return fan.mayBeUnused ? device.everPositive(fan.input.sensor)
                         : device.reading(fan.input.sensor).has_value();
}

}  // namespace tarvel
