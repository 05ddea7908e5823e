#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/sensors/controller_value.h"
#include "platform/linux/sensors/sensor_device.h"

// A real controller by its raw interface, which only root may use: every key that it holds, as it
// stores it. Each access costs milliseconds of the controller's time.

namespace tarvel {

// The attributes "key_count" and "key_at_index…". The index is one for all users of the driver.
class KeyAtIndex {
 public:
  virtual ~KeyAtIndex() = default;

  virtual unsigned count() = 0;

  // Keeps other readers of ours away until unlock. Anybody who may read the file may hold the lock:
  // it is waited for a tenth of a second, then done without.
  virtual void lock() = 0;
  virtual void unlock() = 0;
  virtual bool select(unsigned index) = 0;

  // Of the key at the index, empty on failure.
  virtual std::string name() = 0;
  virtual std::string type() = 0;
  virtual std::string length() = 0;
  virtual std::string data() = 0;
};

// The attributes in this folder; null where they are not there or may not be used.
std::unique_ptr<KeyAtIndex> openKeyAtIndex(const std::string& folder);

class RawController : public SensorDevice {
 public:
  explicit RawController(std::unique_ptr<KeyAtIndex> keys) : keys_(std::move(keys)) {}

  // Whether the interface does what it promises: names in ascending order, by index.
  bool works();

  void read() override;
  void publish() override;

  // Notes that a key is wanted in the next reading; not while busy.
  void want(std::uint32_t key) { entries_[key].wanted = true; }

  // The key's last value; none when the controller does not hold it, or never gave it.
  std::optional<ControllerValue> value(std::uint32_t key) const;

 private:
  struct Entry {
    bool wanted = false;
    bool absent = false;
    std::optional<unsigned> index;
    std::optional<ControllerValue> incoming;
    std::optional<ControllerValue> value;
  };

  std::string nameAt(unsigned index);
  void find(const std::string& key, Entry& entry);  // neither index nor absent where it fails
  void readEntry(std::uint32_t code, Entry& entry);

  std::unique_ptr<KeyAtIndex> keys_;
  std::map<unsigned, std::string> names_;  // as far as they were looked at
  std::map<std::uint32_t, Entry> entries_;
};

}  // namespace tarvel
