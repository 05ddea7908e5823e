#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/monotonic_clock.h"
#include "platform/linux/sensors/sensor_device.h"
#include "platform/linux/sysfs.h"

// The sensors of one device, each a file with a number in it.

namespace tarvel {

// Power from the readings of an energy counter, in watts.
class EnergyMeter {
 public:
  // Microjoules; the counter begins anew after its range.
  explicit EnergyMeter(std::int64_t range) : range_(range) {}

  // The mean power since the reading before; 0 at the first one and after a long pause. A jump that
  // no machine draws (a counter that a suspend reset) repeats the last power.
  double power(std::int64_t energy, MonotonicTime now);

 private:
  std::int64_t range_;
  std::optional<std::int64_t> energy_;
  MonotonicTime time_{};
  double power_ = 0;
};

// Where a sensor's number lies and what it means.
struct SensorFile {
  std::string path;
  double unitsPerOne = 1;  // the file's units in a degree, volt, ampere, watt or revolution

  // Numbers outside stand for no reading.
  std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
  std::int64_t highest = std::numeric_limits<std::int64_t>::max();

  std::int64_t energyRange = 0;  // not 0: a counter of microjoules, read as watts

  bool operator==(const SensorFile&) const = default;
};

class FileSensors : public SensorDevice {
 public:
  // The status file says whether the device sleeps; reading its sensors would wake it. Empty: it
  // never does.
  FileSensors(std::string statusFile, std::vector<SensorFile> files, MonotonicClock clock);

  void read() override;
  void publish() override;

  // Begins a cycle, in which the sensors that the cycle before asked for are wanted at once, as far
  // as the device is not busy; whether there are any.
  bool beginCycle();

  // Asks for a sensor in this cycle; whether it is wanted in a reading that is still to be made.
  bool ask(std::size_t sensor);

  // The last reading, in whole units; none while the sensor never answered.
  std::optional<double> reading(std::size_t sensor) const { return sensors_[sensor].reading; }

  // Whether it ever read more than 0.
  bool everPositive(std::size_t sensor) const { return sensors_[sensor].everPositive; }

  // Whether a file that was there before was missing at a reading; told once.
  bool takeLostFile() { return std::exchange(lostFile_, false); }

  bool hasFilesOf(const FileSensors& other) const {
    return status_.path() == other.status_.path() && files_ == other.files_;
  }

 private:
  struct Sensor {
    AttributeFile file;
    EnergyMeter meter;
    bool asked = false;   // in this cycle
    bool served = false;  // no further reading of it in this cycle
    bool wanted = false;
    std::optional<double> incoming{};
    std::optional<double> reading{};
    bool everPositive = false;
  };

  bool asleep();
  std::optional<double> take(Sensor& sensor, const SensorFile& file);

  const std::vector<SensorFile> files_;
  const MonotonicClock clock_;
  AttributeFile status_;
  std::vector<Sensor> sensors_;
  bool lostFileNow_ = false;  // the reading thread's
  bool lostFile_ = false;
};

}  // namespace tarvel
