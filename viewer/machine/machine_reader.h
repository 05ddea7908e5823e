#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "viewer/machine/file_systems.h"
#include "viewer/machine/kept_file.h"
#include "viewer/machine/machine_totals.h"
#include "viewer/machine/processors.h"
#include "viewer/machine/traffic.h"

// Reads the machine's totals from /proc and /sys. Rates and shares are those since the sample
// before. A sample of everything costs a tenth of a millisecond on a machine of two processors; of
// what is not wanted nothing is opened. One thread at a time.

namespace tarvel::viewer {

class MachineReader {
 public:
  using Clock = std::chrono::steady_clock;

  struct Wanted {
    bool processors = true;
    bool memory = true;
    bool load = true;
    bool pressure = true;
    bool disks = true;
    bool networks = true;
    bool fileSystems = true;
    bool battery = true;
  };

  // The root folder of the machine, "/" in the end left away; a test has one of its own.
  explicit MachineReader(std::string root = {}, FileSystemUsage usage = statvfsUsage());

  MachineTotals sample(Clock::time_point now, const Wanted& wanted);

 private:
  std::optional<Pressure> readPressure();
  void readSlowly(Clock::time_point now, const Wanted& wanted);

  std::string root_;
  FileSystemUsage usage_;
  KeptFile stat_, meminfo_, loadavg_, diskstats_, netDev_, mounts_;
  KeptFile processorPressure_, memoryPressure_, diskPressure_;
  ProcessorUsage processors_;
  TrafficMeter disks_;
  TrafficMeter networks_;
  std::optional<Processors> lastProcessors_;
  std::optional<Clock::time_point> lastSlow_;
  std::vector<FileSystem> nearlyFull_;
  std::optional<Battery> battery_;
};

}  // namespace tarvel::viewer
