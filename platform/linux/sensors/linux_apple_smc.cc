#include "platform/linux/sensors/linux_apple_smc.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <unistd.h>

#include "platform/host/smc_record.h"
#include "platform/linux/bounded_work.h"
#include "platform/linux/sensors/key_sensors.h"
#include "platform/linux/sensors/sensor_scan.h"

namespace tarvel {
namespace {

constexpr std::chrono::seconds kFreshness{1};
constexpr std::chrono::milliseconds kScanLimit{2000};
constexpr std::size_t kMostFans = 10;

constexpr AppleSMC::Service kService = 1;
constexpr AppleSMC::Connection kConnection = 1;
constexpr std::uint32_t kIOReturnBadArgument = 0xE00002C2;
constexpr std::uint32_t kUserClientSelector = 2;

constexpr std::uint8_t kResultKeyNotFound = 0x84;

// What a look at the machine found; filled on a thread that may hang.
struct Scan {
  std::mutex mutex;
  bool done = false;
  SensorScan found;
};

class LinuxAppleSMC : public AppleSMC {
 public:
  explicit LinuxAppleSMC(LinuxSMCOptions options)
      : options_(std::move(options)), nvidia_(std::make_shared<NvidiaCards>(options_.nvidia)) {}

  Match IOServiceGetMatchingServices(std::string_view className) override {
    if (className != "AppleSMC") return {};
    startScan();
    // The service stays for the life of the process, and is looked for once: a machine whose first
    // driver is loaded later, or whose first scan could not start, has it from the beginning.
    const bool hasSysfs = ::access((options_.root + "/class").c_str(), F_OK) == 0;
    const bool anything = hasSysfs || scan_ || controller_ || !sensors_.empty();
    return {0, anything ? kService : 0};
  }

  std::uint32_t IOServiceOpen(Service service, std::uint32_t /*type*/,
                              Connection& connection) override {
    if (service != kService) return kIOReturnBadArgument;
    open_ = true;
    connection = kConnection;
    return 0;
  }

  std::uint32_t IOConnectCallStructMethod(Connection connection, std::uint32_t selector,
                                          const SMCRecordBytes& input,
                                          SMCRecordBytes& output) override;

  void IOServiceClose(Connection connection) override {
    if (connection == kConnection) open_ = false;
  }

 private:
  void startScan();
  void adoptScan();

  void beginCycle();
  void readNow(const SensorDevices& devices);
  void ensureRead(const std::vector<SensorRef>& sensors);

  std::optional<ControllerValue> value(std::uint32_t key);
  std::optional<ControllerValue> rawValue(std::uint32_t key);
  std::optional<ControllerValue> mappedValue(std::uint32_t key);
  std::optional<ControllerValue> fanValue(std::string_view key);
  std::vector<const FanSensors*> turningFans();
  std::optional<double> reading(const std::vector<SensorRef>& parts);

  std::string currentListing() const { return chipListing(options_.root) + nvidia_->listing(); }

  LinuxSMCOptions options_;
  std::shared_ptr<NvidiaCards> nvidia_;
  bool open_ = false;
  KeySensors sensors_;
  std::shared_ptr<RawController> controller_;
  std::shared_ptr<Scan> scan_;  // one that goes on
  std::string listing_;         // what the last scan was of
  bool scanAgain_ = false;      // a new device's attributes may come after it was listed

  std::optional<MonotonicTime> cycleStart_;
  const WorkerThreads threads_;
  std::chrono::milliseconds patience_{0};  // for what is left of this cycle
  std::uint32_t describedKey_ = 0;
  std::optional<ControllerValue> described_;  // the last key that was asked for

  std::set<std::uint32_t> askedKeys_;  // of the raw controller, in this cycle
  std::set<std::uint32_t> servedKeys_;
};

std::uint32_t LinuxAppleSMC::IOConnectCallStructMethod(Connection connection,
                                                       std::uint32_t selector,
                                                       const SMCRecordBytes& input,
                                                       SMCRecordBytes& output) {
  using namespace smc_record;
  if (!open_ || connection != kConnection) return kIOReturnNotOpen;
  const std::uint8_t command = input[kCommandAt];
  if (selector != kUserClientSelector || (command != kReadKeyInfo && command != kReadBytes)) {
    return kIOReturnBadArgument;
  }
  output = {};
  const std::uint32_t key = numberAt(input, kKeyAt);
  // The bytes belong to the type that was told before, though another cycle has begun since then.
  if (command == kReadKeyInfo || key != describedKey_) described_ = value(key);
  describedKey_ = key;
  const auto& found = described_;
  if (!found) {
    output[kResultAt] = kResultKeyNotFound;
  } else if (command == kReadKeyInfo) {
    putNumber(output, kDataSizeAt, found->size);
    putNumber(output, kDataTypeAt, found->type);
  } else {
    std::ranges::copy(found->bytes, output.begin() + kBytesAt);
  }
  return 0;
}

void LinuxAppleSMC::startScan() {
  listing_ = currentListing();
  const auto scan = std::make_shared<Scan>();
  const auto outcome =
      runBounded("sensor scan", kScanLimit, [scan, options = options_, nvidia = nvidia_] {
        auto found = scanSensors(options.root, options.openController, *nvidia);
        const std::scoped_lock lock(scan->mutex);
        scan->found = std::move(found);
        scan->done = true;
      });
  if (outcome == BoundedOutcome::notStarted) {
    listing_.clear();  // to be tried again
    return;
  }
  scan_ = scan;
  adoptScan();
}

void LinuxAppleSMC::adoptScan() {
  const auto scan = scan_;
  const std::scoped_lock lock(scan->mutex);
  if (!scan->done) return;
  scan_.reset();
  if (!controller_ || !scan->found.controller) controller_ = scan->found.controller;
  KeySensors found = mapChips(scan->found.chips, controller_ != nullptr, options_.clock);
  for (auto& device : found.devices) {
    const auto known = std::ranges::find_if(
        sensors_.devices, [&](const auto& old) { return old->hasFilesOf(*device); });
    if (known != sensors_.devices.end()) device = *known;
  }
  sensors_ = std::move(found);
}

void LinuxAppleSMC::beginCycle() {
  const auto now = options_.clock.now();
  if (cycleStart_ && now - *cycleStart_ <= kFreshness) return;
  cycleStart_ = now;
  const bool gone = std::ranges::any_of(sensors_.devices, [](const auto& device) {
    return !device->isBusy() && device->takeLostFile();
  });
  if (scan_) {
    adoptScan();
  } else if (std::string listing = currentListing(); gone || listing != listing_) {
    scanAgain_ = true;
    startScan();
  } else if (std::exchange(scanAgain_, false)) {
    startScan();
  }
  SensorDevices devices;
  for (const auto& device : sensors_.devices) {
    if (device->beginCycle()) devices.push_back(device);
  }
  servedKeys_ = std::exchange(askedKeys_, {});
  if (controller_ && !controller_->isBusy()) controller_->publish();
  if (!servedKeys_.empty() && controller_ && !controller_->isBusy()) {
    for (const auto key : servedKeys_) controller_->want(key);
    devices.push_back(controller_);
  }
  patience_ = options_.limits.all;
  readNow(devices);
}

// All readings of a cycle together may cost it as much time as one of them alone.
void LinuxAppleSMC::readNow(const SensorDevices& devices) {
  if (devices.empty()) return;
  const auto start = std::chrono::steady_clock::now();
  readDevices(devices, {options_.limits.device, patience_}, threads_);
  const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - start);
  patience_ = std::max(patience_ - passed, std::chrono::milliseconds(0));
}

void LinuxAppleSMC::ensureRead(const std::vector<SensorRef>& sensors) {
  SensorDevices devices;
  for (const auto& ref : sensors) {
    const auto& device = sensors_.devices[ref.device];
    if (!device->ask(ref.sensor)) continue;
    if (std::ranges::find(devices, device) == devices.end()) devices.push_back(device);
  }
  readNow(devices);
}

std::optional<ControllerValue> LinuxAppleSMC::value(std::uint32_t key) {
  beginCycle();
  if (auto raw = rawValue(key)) return raw;
  if (key >> 24 == 'F') return fanValue(smc_record::codeText(key));
  return mappedValue(key);
}

std::optional<ControllerValue> LinuxAppleSMC::rawValue(std::uint32_t key) {
  if (!controller_) return std::nullopt;
  askedKeys_.insert(key);
  if (servedKeys_.insert(key).second && !controller_->isBusy()) {
    controller_->want(key);
    readNow({controller_});
  }
  return controller_->value(key);
}

std::optional<ControllerValue> LinuxAppleSMC::mappedValue(std::uint32_t key) {
  const auto readingOf = [this](const std::vector<SensorRef>& parts) { return reading(parts); };
  const auto* candidate = chosenCandidate(sensors_, key, readingOf);
  if (candidate == nullptr) return std::nullopt;
  return encodedReading(reading(candidate->parts).value_or(0), candidate->quantity);
}

std::optional<ControllerValue> LinuxAppleSMC::fanValue(std::string_view key) {
  const auto fans = turningFans();
  if (key == "FNum" && !sensors_.fans.empty()) {
    return encodedFanCount(static_cast<std::uint8_t>(fans.size()));
  }
  const auto index = static_cast<std::size_t>(key[1] - '0');
  if (index >= fans.size()) return std::nullopt;
  const FanSensors& fan = *fans[index];
  const auto what = key.substr(2);
  if (what == "ID") return encodedFanName(fan.name);
  std::optional<double> speed;
  if (what == "Ac") speed = reading({fan.input});
  if (what == "Mn") speed = reading(fan.minimum);
  if (what == "Mx") speed = reading(fan.maximum);
  return speed ? encodedReading(*speed, Quantity::fanSpeed) : std::nullopt;
}

// The fans that are there, in their order, as many as there are keys for.
std::vector<const FanSensors*> LinuxAppleSMC::turningFans() {
  std::vector<SensorRef> inputs;
  inputs.reserve(sensors_.fans.size());
  for (const auto& fan : sensors_.fans) inputs.push_back(fan.input);
  ensureRead(inputs);
  std::vector<const FanSensors*> turning;
  for (const auto& fan : sensors_.fans) {
    if (isThere(sensors_, fan) && turning.size() < kMostFans) turning.push_back(&fan);
  }
  return turning;
}

// The sum of what the parts read; none when none of them ever answered.
std::optional<double> LinuxAppleSMC::reading(const std::vector<SensorRef>& parts) {
  ensureRead(parts);
  std::optional<double> sum;
  for (const auto& part : parts) {
    const auto number = sensors_.devices[part.device]->reading(part.sensor);
    if (number) sum = sum.value_or(0) + *number;
  }
  return sum;
}

}  // namespace

std::unique_ptr<AppleSMC> makeLinuxAppleSMC(LinuxSMCOptions options) {
  return std::make_unique<LinuxAppleSMC>(std::move(options));
}

}  // namespace tarvel
