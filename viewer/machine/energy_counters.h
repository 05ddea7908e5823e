#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/host/energy_meter.h"
#include "viewer/machine/kept_file.h"

// The machine's energy counters in class/powercap (Documentation/power/powercap/powercap.rst),
// which AMD's processors have under Intel's name, "intel-rapl".

namespace tarvel::viewer {

struct ZoneEnergy {
  std::string zone;
  std::int64_t used = 0;  // microjoules since the look before
};

// Looks at zones that have no joule in common: the packages of processors, and the memory beside
// each ("package-0 dram"), which is listed below its package and not part of it. Cores and graphics
// are parts of a package, and psys contains packages. One thread.
class EnergyCounters {
 public:
  // The root folder of the machine as MachineReader has it.
  explicit EnergyCounters(const std::string& root = {}) : folder_(root + "/sys/class/powercap/") {}

  // A zone is left out at the first look, where it cannot be read, which is root's right by
  // default, where it does not count, and where the time since the look before cannot be told
  // from its counter: see EnergyMeter. Zones may come and go.
  std::vector<ZoneEnergy> look(const EnergyLookTime& time);

 private:
  struct Zone {
    std::string name;
    KeptFile energy;
    EnergyMeter meter;
  };

  void findZones();
  std::string nameOf(const std::string& entry) const;

  std::string folder_;
  std::map<std::string, Zone> zones_;  // by entry of the folder
};

}  // namespace tarvel::viewer
