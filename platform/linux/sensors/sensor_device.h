#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

// Devices that are read on a thread beside the one that needs the readings, since any driver may
// hang. While a device is busy it belongs to the reading thread alone.

namespace tarvel {

class SensorDevice {
 public:
  virtual ~SensorDevice() = default;

  // Takes the readings that are wanted. On the reading thread.
  virtual void read() = 0;

  // Makes what was read the device's readings. On the owner's thread, while not busy.
  virtual void publish() = 0;

  // Set by the owner before a reading, cleared at its end.
  std::atomic<bool> busy = false;
};

// Reads the devices that are not busy, one after another. A device that does not answer within the
// limit stays busy until it does and costs its caller the limit this once.
void readDevices(const std::vector<std::shared_ptr<SensorDevice>>& devices,
                 std::chrono::milliseconds limit);

}  // namespace tarvel
