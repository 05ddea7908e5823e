#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/energy_meter.h"
#include "platform/linux/sensors/sensor_clock.h"
#include "platform/linux/sensors/sensor_device.h"
#include "platform/linux/sysfs.h"

// The sensors of one device, each a file with a number in it.

namespace tarvel {

// Where a sensor's number lies and what it means.
struct SensorFile {
  std::string path;
  double unitsPerOne = 1;  // the file's units in a degree, volt, ampere, watt or revolution

  // Numbers outside stand for no reading.
  std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
  std::int64_t highest = std::numeric_limits<std::int64_t>::max();

  std::int64_t energyRange = 0;  // not 0: a counter of microjoules, read as watts
  bool isZeroAsleep = false;     // what it measures is 0 while the device sleeps
  bool isWhole = false;          // the device counts whole units, so the reading is rounded to one

  // Of a battery. Drivers differ in the sign of what goes in or out, so that counts as positive
  // while it discharges, and as negative while the status says "Charging".
  std::string statusFile{};
  std::string factorFile{};  // a number in millionths that the reading is multiplied by

  // Instead of the file, where set: a library tells the number, and the path only names it.
  std::function<std::optional<std::int64_t>()> number{};

  bool operator==(const SensorFile& other) const;
};

class FileSensors : public SensorDevice {
 public:
  // The status file says whether the device sleeps; reading its sensors would wake it. Empty: it
  // never does. A device that may sleep (its "power/control" is "auto") falls asleep some time
  // after it was last used, and a reading uses it: so it is left alone for longer than that in
  // between.
  FileSensors(std::string statusFile, std::vector<SensorFile> files, SensorClock clock);

  // While the device sleeps, what is 0 then reads 0, and everything else as it last did. Counters
  // of energy that have to begin anew take a tenth of a second, all of them together.
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

  const SensorFile& file(std::size_t sensor) const { return sensors_[sensor].source; }

  bool hasFilesOf(const FileSensors& other) const;

 private:
  struct Sensor {
    explicit Sensor(SensorFile given)
        : source(std::move(given)),
          file(source.path),
          status(source.statusFile),
          factor(source.factorFile),
          meter(source.energyRange) {}

    SensorFile source;
    AttributeFile file;
    AttributeFile status;
    AttributeFile factor;
    EnergyMeter meter;
    bool asked = false;   // in this cycle
    bool served = false;  // no further reading of it in this cycle
    bool wanted = false;
    bool tried = false;  // the reading thread's
    std::optional<double> incoming{};
    std::optional<double> reading{};
    bool everPositive = false;
  };

  bool isAsleep();
  void letRest();
  void beginCounting();
  EnergyLookTime lookTime() const { return {clock_.now(), clock_.suspended()}; }
  std::optional<double> take(Sensor& sensor) const;

  const SensorClock clock_;
  AttributeFile status_;
  AttributeFile control_;
  std::optional<MonotonicTime> usedAt_;  // the reading thread's
  std::vector<Sensor> sensors_;
  bool lostFileNow_ = false;  // the reading thread's
  bool lostFile_ = false;
};

}  // namespace tarvel
