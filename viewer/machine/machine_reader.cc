#include "viewer/machine/machine_reader.h"

#include <ctime>
#include <utility>

#include <unistd.h>

#include "viewer/machine/battery.h"
#include "viewer/machine/memory.h"
#include "viewer/machine/pressure.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenSlow = 10s;  // what changes slowly and costs more: disks' space, the battery

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

// Whole disks that are devices of their own: partitions have no folder in /sys/block, and what is
// made of other disks (loop, dm, md, zram) has no device behind it.
TrafficMeter::Counts diskCounts(const std::string& root) {
  return
      [root](const std::string& disk) { return exists(root + "/sys/block/" + disk + "/device"); };
}

// Interfaces of hardware. Bridges, tunnels and the loopback carry what those carry, or nothing.
TrafficMeter::Counts networkCounts(const std::string& root) {
  return [root](const std::string& name) {
    return exists(root + "/sys/class/net/" + name + "/device");
  };
}

std::chrono::seconds uptime() {
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return std::chrono::seconds(time.tv_sec);
}

}  // namespace

MachineReader::MachineReader(std::string root, FileSystemUsage usage)
    : root_(std::move(root)),
      usage_(std::move(usage)),
      stat_(root_ + "/proc/stat"),
      meminfo_(root_ + "/proc/meminfo"),
      loadavg_(root_ + "/proc/loadavg"),
      diskstats_(root_ + "/proc/diskstats"),
      netDev_(root_ + "/proc/self/net/dev"),
      mounts_(root_ + "/proc/self/mounts"),
      processorPressure_(root_ + "/proc/pressure/cpu"),
      memoryPressure_(root_ + "/proc/pressure/memory"),
      diskPressure_(root_ + "/proc/pressure/io"),
      disks_(diskCounts(root_)),
      networks_(networkCounts(root_)) {}

MachineTotals MachineReader::sample(Clock::time_point now, const Wanted& wanted) {
  MachineTotals totals;
  if (wanted.processors) {
    if (auto usage = processors_.since(stat_.read())) lastProcessors_ = std::move(usage);
    totals.processors = lastProcessors_;
  }
  if (wanted.memory) totals.memory = memoryOf(meminfo_.read());
  if (wanted.load) {
    if (const auto text = loadavg_.read(); !text.empty()) totals.load = loadOf(text);
  }
  if (wanted.pressure) totals.pressure = readPressure();
  if (wanted.disks) totals.disks = disks_.ofDisks(diskstats_.read(), now);
  if (wanted.networks) totals.networks = networks_.ofNetworks(netDev_.read(), now);
  readSlowly(now, wanted);
  if (wanted.fileSystems) totals.nearlyFull = nearlyFull_;
  if (wanted.battery) totals.battery = battery_;
  totals.uptime = uptime();
  return totals;
}

// Kernels without pressure stall information, or started with psi=0, have no such files.
std::optional<Pressure> MachineReader::readPressure() {
  const auto processor = processorPressure_.read();
  if (processor.empty()) return std::nullopt;
  return Pressure{somePressure(processor), somePressure(memoryPressure_.read()),
                  somePressure(diskPressure_.read())};
}

void MachineReader::readSlowly(Clock::time_point now, const Wanted& wanted) {
  if (lastSlow_ && now - *lastSlow_ < kBetweenSlow) return;
  lastSlow_ = now;
  if (wanted.fileSystems) nearlyFull_ = nearlyFull(mounts_.read(), usage_);
  if (wanted.battery) battery_ = readBattery(root_ + "/sys/class/power_supply");
}

}  // namespace tarvel::viewer
