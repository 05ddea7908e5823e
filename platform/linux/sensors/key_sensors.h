#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/sensors/controller_value.h"
#include "platform/linux/sensors/file_sensors.h"
#include "platform/linux/sensors/sensor_chips.h"
#include "platform/linux/sensors/sensor_map.h"

// Which files of a machine answer for which key of the controller.

namespace tarvel {

// One sensor of one device of a KeySensors.
struct SensorRef {
  std::size_t device = 0;
  std::size_t sensor = 0;

  auto operator<=>(const SensorRef&) const = default;
};

// What can stand for a key: one sensor, or several that are added up.
struct KeyCandidate {
  Quantity quantity = Quantity::temperature;
  std::vector<SensorRef> parts;
  std::vector<SensorRef> flow;     // where it is 0, another candidate of the list is better
  const SensorRow* row = nullptr;  // of the map; null: its label is its key

  // Whether both are readings of one chip by different rows, so that one of them is enough.
  bool isAlternativeTo(const KeyCandidate& other) const {
    return row != other.row && parts.front().device == other.parts.front().device;
  }
};

// Sensors of one kind in their order. The first that has answered counts for the list's first key,
// the second for its second one, and so on: a sensor that never answered uses up no key.
using KeyList = std::vector<KeyCandidate>;

struct KeyPlace {
  std::size_t list = 0;
  std::size_t place = 0;
};

struct FanSensors {
  std::string name;  // of all fans of the machine its alone
  SensorRef input;
  std::vector<SensorRef> minimum;  // none or one
  std::vector<SensorRef> maximum;
  bool mayBeUnused = false;  // a header that nothing may be connected to
};

struct KeySensors {
  std::vector<std::shared_ptr<FileSensors>> devices;
  std::vector<KeyList> lists;
  std::map<std::uint32_t, std::vector<KeyPlace>> places;  // of a key; the first that answers counts
  std::vector<FanSensors> fans;

  bool empty() const { return places.empty() && fans.empty(); }
};

// What several sensors read together; none where none of them ever answered.
using ReadingOf = std::function<std::optional<double>(const std::vector<SensorRef>&)>;

// What stands for a key now; null where nothing does. Asks for the readings of whatever comes into
// question.
const KeyCandidate* chosenCandidate(const KeySensors& sensors, std::uint32_t key,
                                    const ReadingOf& readingOf);

// Whether a fan is there, by what it read so far.
bool isThere(const KeySensors& sensors, const FanSensors& fan);

// The sensors of the chips that have a key. `rawController`: a controller is read by another way;
// its labelled values are left out, as well as what it makes superfluous.
KeySensors mapChips(const std::vector<Chip>& chips, bool rawController, const SensorClock& clock);

}  // namespace tarvel
