#include "platform/linux/sensors/file_sensors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>

namespace tarvel {
namespace {

constexpr std::chrono::milliseconds kBetweenTwoLooks{100};
constexpr double kMillion = 1e6;

// The drivers of graphics cards let them sleep five seconds after their last use.
constexpr std::chrono::seconds kBetweenUses{12};

// A file beside the status of a device's power management; empty where there is no such status.
std::string besideStatus(const std::string& statusFile, std::string_view name) {
  const auto slash = statusFile.rfind('/');
  return slash == statusFile.npos ? "" : statusFile.substr(0, slash + 1).append(name);
}

std::optional<std::int64_t> numberIn(AttributeFile& file, const SensorFile& source) {
  const auto number = source.number ? source.number() : file.readInteger();
  return number && *number >= source.lowest && *number <= source.highest ? number : std::nullopt;
}

bool startsWith(AttributeFile& file, std::string_view text) {
  std::array<char, 32> buffer;
  const auto found = file.read(buffer);
  return found && found->starts_with(text);
}

}  // namespace

bool SensorFile::operator==(const SensorFile& other) const {
  const auto members = [](const SensorFile& file) {
    return std::tie(file.path, file.unitsPerOne, file.lowest, file.highest, file.energyRange,
                    file.isZeroAsleep, file.isWhole, file.statusFile, file.factorFile);
  };
  return members(*this) == members(other);
}

FileSensors::FileSensors(std::string statusFile, std::vector<SensorFile> files, SensorClock clock)
    : clock_(std::move(clock)),
      status_(std::move(statusFile)),
      control_(besideStatus(status_.path(), "control")) {
  for (auto& file : files) sensors_.emplace_back(std::move(file));
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
  const bool sleeps = isAsleep();
  if (sleeps) {
    usedAt_.reset();
  } else {
    letRest();
    beginCounting();
  }
  for (Sensor& sensor : sensors_) {
    if (!std::exchange(sensor.wanted, false)) continue;
    if (sleeps) {
      sensor.meter.reset();
      if (sensor.source.isZeroAsleep) sensor.incoming = 0;
      continue;
    }
    const bool wasGone = sensor.file.gone();
    sensor.tried = true;
    sensor.incoming = take(sensor);
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

bool FileSensors::hasFilesOf(const FileSensors& other) const {
  return status_.path() == other.status_.path() &&
         std::ranges::equal(sensors_, other.sensors_, {}, &Sensor::source, &Sensor::source);
}

bool FileSensors::isAsleep() {
  if (status_.path().empty()) return false;
  std::array<char, 32> buffer;
  const auto status = status_.read(buffer);
  return status && !status->starts_with("active") && !status->starts_with("unsupported");
}

// Forgets what is wanted of a device that may sleep and was used a short time ago, but for sensors
// that were never read.
void FileSensors::letRest() {
  if (status_.path().empty() || !startsWith(control_, "auto")) return;
  const auto now = clock_.now();
  const bool rests = usedAt_ && now - *usedAt_ < kBetweenUses;
  if (!rests) usedAt_ = now;
  for (Sensor& sensor : sensors_) sensor.wanted = sensor.wanted && !(rests && sensor.tried);
}

// Looks at the counters that cannot be compared with what they were, and waits for the second look;
// also at those that are not wanted yet, so that these need not wait once more.
void FileSensors::beginCounting() {
  const auto isStale = [&](const Sensor& sensor) {
    return sensor.source.energyRange != 0 && sensor.meter.isStale(lookTime());
  };
  const auto begins = [&](const Sensor& sensor) { return sensor.wanted && isStale(sensor); };
  if (std::ranges::none_of(sensors_, begins)) return;
  bool looked = false;  // most users may not read the counters
  for (Sensor& sensor : sensors_) {
    if (!isStale(sensor)) continue;
    const auto energy = numberIn(sensor.file, sensor.source);
    if (energy) sensor.meter.look(*energy, lookTime());
    looked = looked || energy;
  }
  if (looked) clock_.sleep(kBetweenTwoLooks);
}

std::optional<double> FileSensors::take(Sensor& sensor) const {
  const SensorFile& source = sensor.source;
  const auto number = numberIn(sensor.file, source);
  if (!number) return std::nullopt;
  if (source.energyRange != 0) {
    sensor.meter.look(*number, lookTime());
    return sensor.meter.power();
  }
  double reading = static_cast<double>(*number) / source.unitsPerOne;
  if (!source.statusFile.empty()) {
    reading = startsWith(sensor.status, "Charging") ? -std::abs(reading) : std::abs(reading);
  }
  if (!source.factorFile.empty()) {
    const auto factor = sensor.factor.readInteger();
    if (!factor) return std::nullopt;
    reading *= static_cast<double>(*factor) / kMillion;
  }
  return source.isWhole ? std::round(reading) : reading;
}

}  // namespace tarvel
