#include "platform/linux/sensors/nvidia_cards.h"

#include <mutex>
#include <optional>
#include <utility>

#include <dlfcn.h>

#include "platform/linux/monotonic_clock.h"
#include "platform/linux/sysfs.h"

namespace tarvel {
namespace {

using Device = struct NvmlDevice*;  // the library's own

struct FanSpeed {
  unsigned version;
  unsigned fan;
  unsigned speed;  // revolutions per minute
};
constexpr unsigned kFanSpeedVersion = sizeof(FanSpeed) | 1U << 24;

constexpr int kSuccess = 0;
constexpr unsigned kChipTemperature = 0;
constexpr std::chrono::seconds kServes{1};

// The symbol as a function of this type; null where the library has no such symbol.
template <typename Function>
Function* symbol(void* library, const char* name) {
  return reinterpret_cast<Function*>(::dlsym(library, name));
}

enum class Input { temperature, power, fan };

}  // namespace

// Never closed: the library has threads and exit handlers of its own. Any thread, one at a time.
class NvidiaCards::Library {
 public:
  explicit Library(std::string name) : name_(std::move(name)) {}

  struct Values {
    std::optional<std::int64_t> temperature;  // °C
    std::optional<std::int64_t> power;        // mW
    std::optional<std::int64_t> fan;          // revolutions per minute
  };

  // Leaves the card again where it is not to be held.
  Values read(const std::string& place, bool holds) {
    const std::scoped_lock lock(mutex_);
    if (!isOpen_ && !open()) return {};
    Values values;
    Device device = nullptr;
    if (find_(place.c_str(), &device) == kSuccess) values = valuesOf(device);
    if (!holds && shutdown_() == kSuccess) isOpen_ = false;
    return values;
  }

 private:
  bool open() {
    if (library_ == nullptr) library_ = ::dlopen(name_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library_ == nullptr) return false;
    auto* const init = symbol<int()>(library_, "nvmlInit_v2");
    shutdown_ = symbol<int()>(library_, "nvmlShutdown");
    find_ = symbol<int(const char*, Device*)>(library_, "nvmlDeviceGetHandleByPciBusId_v2");
    temperature_ = symbol<int(Device, unsigned, unsigned*)>(library_, "nvmlDeviceGetTemperature");
    power_ = symbol<int(Device, unsigned*)>(library_, "nvmlDeviceGetPowerUsage");
    fan_ = symbol<int(Device, FanSpeed*)>(library_, "nvmlDeviceGetFanSpeedRPM");
    isOpen_ = init != nullptr && shutdown_ != nullptr && find_ != nullptr && init() == kSuccess;
    return isOpen_;
  }

  Values valuesOf(Device device) const {
    Values values;
    unsigned number = 0;
    if (temperature_ != nullptr && temperature_(device, kChipTemperature, &number) == kSuccess) {
      values.temperature = number;
    }
    if (power_ != nullptr && power_(device, &number) == kSuccess) values.power = number;
    FanSpeed fan{kFanSpeedVersion, 0, 0};
    if (fan_ != nullptr && fan_(device, &fan) == kSuccess) values.fan = fan.speed;
    return values;
  }

  const std::string name_;
  std::mutex mutex_;
  void* library_ = nullptr;
  bool isOpen_ = false;
  int (*shutdown_)() = nullptr;
  int (*find_)(const char*, Device*) = nullptr;
  int (*temperature_)(Device, unsigned, unsigned*) = nullptr;
  int (*power_)(Device, unsigned*) = nullptr;
  int (*fan_)(Device, FanSpeed*) = nullptr;
};

// One card, read once for all its sensors in a cycle. On its reading thread.
class NvidiaCards::Card {
 public:
  Card(std::shared_ptr<Library> library, std::string place, std::string device)
      : library_(std::move(library)), place_(std::move(place)), device_(std::move(device)) {}

  std::optional<std::int64_t> number(Input input) {
    const auto now = monotonicTime();
    if (!readAt_ || now - *readAt_ > kServes) {
      readAt_ = now;
      const bool maySleep = readAttribute(device_ + "/power/control") == "auto";
      values_ = library_->read(place_, !maySleep);
    }
    if (input == Input::temperature) return values_.temperature;
    return input == Input::power ? values_.power : values_.fan;
  }

 private:
  const std::shared_ptr<Library> library_;
  const std::string place_;
  const std::string device_;
  std::optional<MonotonicTime> readAt_;
  Library::Values values_;
};

NvidiaCards::NvidiaCards(NvidiaOptions options)
    : options_(std::move(options)), library_(std::make_shared<Library>(options_.library)) {}

NvidiaCards::~NvidiaCards() = default;

std::string NvidiaCards::listing() const {
  std::string listing;
  for (const auto& place : folderNames(options_.cards)) listing += place + "/";
  return listing;
}

std::vector<Chip> NvidiaCards::chips(const std::string& root) {
  struct {
    const char* kind;
    Input input;
    double unitsPerOne;
  } constexpr kInputs[] = {
      {"temp", Input::temperature, 1}, {"power", Input::power, 1000}, {"fan", Input::fan, 1}};
  std::vector<Chip> chips;
  for (const auto& place : folderNames(options_.cards)) {
    const std::string device = root + "/bus/pci/devices/" + place;
    const auto known = card(place, device);
    Chip chip{"nvidia", resolvedPath(device), device + "/power/runtime_status", {}};
    for (const auto& [kind, input, unitsPerOne] : kInputs) {
      SensorFile file{options_.library + ":" + place + "/" + kind + "1_input", unitsPerOne};
      file.isZeroAsleep = input != Input::temperature;
      file.number = [known, input] { return known->number(input); };
      chip.inputs.push_back(ChipInput{kind, 1, {}, std::move(file)});
    }
    chips.push_back(std::move(chip));
  }
  return chips;
}

std::shared_ptr<NvidiaCards::Card> NvidiaCards::card(const std::string& place,
                                                     const std::string& device) {
  auto& known = cards_[place];
  if (!known) known = std::make_shared<Card>(library_, place, device);
  return known;
}

}  // namespace tarvel
