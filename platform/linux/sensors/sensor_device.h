#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

#include "platform/linux/worker_threads.h"

// Devices that are read on threads beside the one that needs the readings, since any driver may be
// slow or hang. While a device is busy it belongs to its reading thread alone; everything else is
// for the owner's thread.

namespace tarvel {

class SensorDevice {
 public:
  virtual ~SensorDevice() = default;

  // Takes the readings that are wanted. On the reading thread.
  virtual void read() = 0;

  // Makes what was read, if anything, the device's readings. On the owner's thread, while not busy.
  virtual void publish() = 0;

  bool isBusy() const { return busy_.load(std::memory_order_acquire); }

 private:
  friend class DeviceReading;

  void readOnThread();
  void noteSpeed(std::chrono::nanoseconds limit);

  std::atomic<bool> busy_ = false;
  std::chrono::nanoseconds took_{0};  // the last reading
  int slowFor_ = 0;                   // readings until it counts as quick again
};

using SensorDevices = std::vector<std::shared_ptr<SensorDevice>>;

struct ReadingLimits {
  // A device that takes longer is slow: the others are read beside it, and from then on its
  // readings are not waited for, until it has been quick again for some time.
  std::chrono::milliseconds device{150};

  // What a call may cost its caller altogether.
  std::chrono::milliseconds all{500};
};

// Reads the devices that are not busy. Those that have answered on return are published; the others
// stay busy until they do, and their owner publishes what they read when it likes. A device that
// was not come to within the limits is not busy, and what is wanted of it stays wanted.
void readDevices(const SensorDevices& devices, const ReadingLimits& limits,
                 const WorkerThreads& threads);

}  // namespace tarvel
