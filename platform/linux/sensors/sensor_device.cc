#include "platform/linux/sensors/sensor_device.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace tarvel {

using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr const char* kThreadName = "sensors";
constexpr int kSlowFor = 20;
constexpr auto kNoDevice = static_cast<std::size_t>(-1);

}  // namespace

void SensorDevice::readOnThread() {
  const auto start = SteadyClock::now();
  read();
  took_ = SteadyClock::now() - start;
  busy_.store(false, std::memory_order_release);
}

void SensorDevice::noteSpeed(std::chrono::nanoseconds limit) {
  if (std::exchange(took_, std::chrono::nanoseconds(0)) > limit) {
    slowFor_ = kSlowFor;
  } else if (slowFor_ > 0) {
    --slowFor_;
  }
}

// One call's devices, read one after another by a thread that a slow device makes give way to
// another one.
class DeviceReading : public std::enable_shared_from_this<DeviceReading> {
 public:
  static void start(const SensorDevices& devices, const ReadingLimits& limits,
                    const WorkerThreads& threads) {
    SensorDevices quick;
    for (const auto& device : devices) {
      if (device->isBusy()) continue;
      device->noteSpeed(limits.device);
      device->busy_.store(true, std::memory_order_relaxed);
      if (device->slowFor_ == 0) {
        quick.push_back(device);
      } else if (!threads.run(kThreadName, [device] { device->readOnThread(); })) {
        device->busy_.store(false, std::memory_order_relaxed);
      }
    }
    if (quick.empty()) return;
    std::make_shared<DeviceReading>(std::move(quick), threads)->supervise(limits);
  }

  DeviceReading(SensorDevices devices, WorkerThreads threads)
      : devices_(std::move(devices)), threads_(std::move(threads)) {}

 private:
  bool startThread() {
    return threads_.run(kThreadName, [self = shared_from_this()] { self->run(); });
  }

  void run() {
    std::unique_lock lock(mutex_);
    while (next_ < devices_.size()) {
      const std::size_t mine = next_++;
      current_ = mine;
      startedAt_ = SteadyClock::now();
      lock.unlock();
      devices_[mine]->readOnThread();
      lock.lock();
      if (current_ != mine) return;  // another thread has gone on
      current_ = kNoDevice;
    }
    done_.notify_one();
  }

  // Wakes for the end, and where a device may have exceeded its limit.
  void supervise(const ReadingLimits& limits) {
    const auto end = SteadyClock::now() + limits.all;
    startedAt_ = SteadyClock::now();
    bool reading = startThread();
    std::unique_lock lock(mutex_);
    while (reading && !isDone()) {
      const auto until = std::min(end, startedAt_ + limits.device);
      if (done_.wait_until(lock, until, [&] { return isDone(); })) break;
      const bool isLate = SteadyClock::now() >= startedAt_ + limits.device;
      if (until < end && !isLate) continue;  // another device is being read by now
      current_ = kNoDevice;
      reading = until < end && next_ < devices_.size() && startThread();
      startedAt_ = SteadyClock::now();
    }
    for (; next_ < devices_.size(); ++next_) {
      devices_[next_]->busy_.store(false, std::memory_order_relaxed);
    }
  }

  bool isDone() const { return current_ == kNoDevice && next_ == devices_.size(); }

  const SensorDevices devices_;
  const WorkerThreads threads_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable done_;
  std::size_t next_ = 0;             // the first that no thread has taken
  std::size_t current_ = kNoDevice;  // the one that the latest thread reads
  SteadyClock::time_point startedAt_;
};

void readDevices(const SensorDevices& devices, const ReadingLimits& limits,
                 const WorkerThreads& threads) {
  DeviceReading::start(devices, limits, threads);
  for (const auto& device : devices) {
    if (!device->isBusy()) device->publish();
  }
}

}  // namespace tarvel
