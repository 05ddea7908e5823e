#include "platform/linux/sensors/file_sensors.h"

#include <array>
#include <utility>

namespace tarvel {
namespace {

constexpr double kMicro = 1e-6;
constexpr double kMostWatts = 1024;
constexpr std::chrono::minutes kLongPause{10};

}  // namespace

double EnergyMeter::power(std::int64_t energy, MonotonicTime now) {
  const bool first = !energy_ || now - time_ > kLongPause;
  const std::int64_t before = std::exchange(energy_, energy).value_or(energy);
  const std::chrono::duration<double> passed = now - std::exchange(time_, now);
  if (first) {
    power_ = 0;
  } else if (passed.count() > 0) {
    const std::int64_t used = energy >= before ? energy - before : energy + (range_ - before);
    const double watts = static_cast<double>(used) * kMicro / passed.count();
    if (watts >= 0 && watts < kMostWatts) power_ = watts;
  }
  return power_;
}

FileSensors::FileSensors(std::string statusFile, std::vector<SensorFile> files,
                         MonotonicClock clock)
    : files_(std::move(files)), clock_(std::move(clock)), status_(std::move(statusFile)) {
  for (const auto& file : files_) {
    sensors_.push_back(Sensor{AttributeFile(file.path), EnergyMeter(file.energyRange)});
  }
}

bool FileSensors::beginCycle() {
  const bool isFree = !isBusy();
  if (isFree) publish();  // what came too late for the cycle before
  bool any = false;
  for (Sensor& sensor : sensors_) {
    sensor.served = std::exchange(sensor.asked, false);
    if (!isFree) continue;
    sensor.wanted = sensor.served;
    any = any || sensor.wanted;
  }
  return any;
}

bool FileSensors::ask(std::size_t sensor) {
  Sensor& asked = sensors_[sensor];
  asked.asked = true;
  if (std::exchange(asked.served, true) || isBusy()) return false;
  asked.wanted = true;
  return true;
}

void FileSensors::read() {
  const bool sleeps = asleep();
  for (std::size_t i = 0; i < sensors_.size(); ++i) {
    Sensor& sensor = sensors_[i];
    if (!std::exchange(sensor.wanted, false) || sleeps) continue;
    const bool wasGone = sensor.file.gone();
    sensor.incoming = take(sensor, files_[i]);
    lostFileNow_ = lostFileNow_ || (sensor.file.gone() && !wasGone);
  }
}

void FileSensors::publish() {
  lostFile_ = lostFile_ || std::exchange(lostFileNow_, false);
  for (Sensor& sensor : sensors_) {
    if (!sensor.incoming) continue;
    sensor.reading = std::exchange(sensor.incoming, std::nullopt);
    sensor.everPositive = sensor.everPositive || sensor.reading > 0;
  }
}

bool FileSensors::asleep() {
  if (status_.path().empty()) return false;
  std::array<char, 32> buffer;
  const auto status = status_.read(buffer);
  return status && !status->starts_with("active") && !status->starts_with("unsupported");
}

std::optional<double> FileSensors::take(Sensor& sensor, const SensorFile& file) {
  const auto number = sensor.file.readInteger();
  if (!number || *number < file.lowest || *number > file.highest) return std::nullopt;
  if (file.energyRange != 0) return sensor.meter.power(*number, clock_());
  return static_cast<double>(*number) / file.unitsPerOne;
}

}  // namespace tarvel
