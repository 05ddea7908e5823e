#include "platform/linux/sensors/sensor_device.h"

#include <mutex>
#include <utility>

#include "platform/linux/bounded_work.h"

namespace tarvel {
namespace {

using Devices = std::vector<std::shared_ptr<SensorDevice>>;

// Devices in the order of their reading, given up at the one that hangs.
class Batch {
 public:
  explicit Batch(Devices devices) : devices_(std::move(devices)) {}

  void run() {
    for (std::size_t i = 0; i < devices_.size(); ++i) {
      devices_[i]->read();
      const std::scoped_lock lock(mutex_);
      devices_[i]->busy.store(false, std::memory_order_release);
      next_ = i + 1;
      if (givenUp_) return;
    }
  }

  // The devices behind the one that is being read now, which stays busy.
  Devices giveUp() {
    const std::scoped_lock lock(mutex_);
    givenUp_ = true;
    if (next_ >= devices_.size()) return {};
    return Devices(devices_.begin() + static_cast<std::ptrdiff_t>(next_) + 1, devices_.end());
  }

 private:
  const Devices devices_;
  std::mutex mutex_;
  std::size_t next_ = 0;
  bool givenUp_ = false;
};

}  // namespace

void readDevices(const Devices& devices, std::chrono::milliseconds limit) {
  Devices waiting;
  for (const auto& device : devices) {
    if (!device->busy.load(std::memory_order_acquire)) waiting.push_back(device);
  }
  for (const auto& device : waiting) device->busy.store(true, std::memory_order_relaxed);
  const Devices all = waiting;
  while (!waiting.empty()) {
    const auto batch = std::make_shared<Batch>(waiting);
    const auto outcome = runBounded("sensors", limit, [batch] { batch->run(); });
    if (outcome == BoundedOutcome::notStarted) {
      for (const auto& device : waiting) device->busy.store(false, std::memory_order_relaxed);
    }
    waiting = outcome == BoundedOutcome::goesOn ? batch->giveUp() : Devices{};
  }
  for (const auto& device : all) {
    if (!device->busy.load(std::memory_order_acquire)) device->publish();
  }
}

}  // namespace tarvel
