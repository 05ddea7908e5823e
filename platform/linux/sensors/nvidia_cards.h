#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/sensors/sensor_chips.h"

// Cards of NVIDIA's own driver, which shows nothing in sysfs: their management library is asked
// (NVML API reference, docs.nvidia.com/deploy/nvml-api).
//
// The library is opened when a card that is awake is read for the first time, on the reading thread
// of that card, which is given up like that of any driver that hangs. So no other machine pays for
// it, and the helper needs no further program. A card whose runtime power management is on is left
// between two readings, since the driver does not let a card sleep that somebody holds.

namespace tarvel {

struct NvidiaOptions {
  std::string cards =
      "/proc/driver/nvidia/gpus";  // a folder a card, named for its place on the bus
  std::string library = "libnvidia-ml.so.1";
};

class NvidiaCards {
 public:
  explicit NvidiaCards(NvidiaOptions options = {});
  ~NvidiaCards();

  // A chip a card, with temperature, power and, where the library tells revolutions, fan. Touches
  // no card. The root is that of sysfs. One call at a time.
  std::vector<Chip> chips(const std::string& root);

  // What tells that cards came or went.
  std::string listing() const;

 private:
  class Library;
  class Card;

  std::shared_ptr<Card> card(const std::string& place, const std::string& device);

  const NvidiaOptions options_;
  std::shared_ptr<Library> library_;
  std::map<std::string, std::shared_ptr<Card>> cards_;  // by place
};

}  // namespace tarvel
