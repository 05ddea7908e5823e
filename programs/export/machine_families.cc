#include "programs/export/machine_families.h"

#include <chrono>
#include <string_view>

namespace tarvel::viewer {
namespace {

using prometheus::MetricType;

constexpr double kPercent = 100;

// Metrics of one sample without labels.
class Singles {
 public:
  explicit Singles(Families& families) : families_(families) {}

  void gauge(std::string_view name, std::string_view help, auto value) {
    add({name, help}, static_cast<double>(value));
  }
  void counter(std::string_view name, std::string_view help, auto value) {
    add({name, help, MetricType::Counter}, static_cast<double>(value));
  }

 private:
  void add(Family family, double value) {
    family.add({}, value);
    std::move(family).addTo(families_);
  }

  Families& families_;
};

void addMemory(const Memory& memory, Singles& singles) {
  singles.gauge("tarvel_machine_memory_bytes", "Memory of the machine.", memory.total);
  singles.gauge("tarvel_machine_memory_used_bytes", "Memory that is not available.", memory.used);
  singles.gauge("tarvel_machine_swap_bytes", "Swap of the machine.", memory.swapTotal);
  singles.gauge("tarvel_machine_swap_used_bytes", "Swap that is in use.", memory.swapUsed);
}

void addPressure(const Pressure& pressure, Families& families) {
  Family family("tarvel_machine_pressure_ratio",
                "Share of the last ten seconds in which some task waited for the resource.");
  family.add({{"resource", "processor"}}, pressure.processor / kPercent);
  family.add({{"resource", "memory"}}, pressure.memory / kPercent);
  family.add({{"resource", "disk"}}, pressure.disk / kPercent);
  std::move(family).addTo(families);
}

void addFileSystems(const std::vector<FileSystem>& nearlyFull, Families& families) {
  Family used("tarvel_machine_file_system_used_ratio",
              "Used share of a file system that is nearly full.");
  Family available("tarvel_machine_file_system_available_bytes",
                   "Space that a file system that is nearly full has left.");
  for (const auto& fileSystem : nearlyFull) {
    const Labels labels = {{"path", fileSystem.path}};
    used.add(labels, fileSystem.used);
    available.add(labels, static_cast<double>(fileSystem.available));
  }
  std::move(used).addTo(families);
  std::move(available).addTo(families);
}

}  // namespace

void addMachine(const MachineTotals& totals, Families& families) {
  Singles singles(families);
  singles.gauge("tarvel_machine_uptime_seconds", "Time since the machine started.",
                totals.uptime.count());
  if (const auto& processors = totals.processors) {
    singles.gauge("tarvel_machine_cpu_ratio", "Share of all processors that is busy.",
                  processors->busy);
  }
  if (totals.memory) addMemory(*totals.memory, singles);
  if (const auto& load = totals.load) {
    singles.gauge("tarvel_machine_load", "Load, averaged over one minute.", load->one);
  }
  if (totals.pressure) addPressure(*totals.pressure, families);
  if (const auto& disks = totals.disks) {
    singles.counter("tarvel_machine_disk_read_bytes_total", "Read from disks.", disks->totalIn);
    singles.counter("tarvel_machine_disk_written_bytes_total", "Written to disks.",
                    disks->totalOut);
  }
  if (const auto& networks = totals.networks) {
    singles.counter("tarvel_machine_network_received_bytes_total", "Received from networks.",
                    networks->totalIn);
    singles.counter("tarvel_machine_network_sent_bytes_total", "Sent to networks.",
                    networks->totalOut);
  }
  addFileSystems(totals.nearlyFull, families);
  if (const auto& battery = totals.battery) {
    singles.gauge("tarvel_machine_battery_ratio", "Charge of the battery.", battery->charge);
  }
}

void addHelper(const std::optional<HelperCost::Figures>& figures, Families& families) {
  Singles singles(families);
  singles.gauge("tarvel_helper_up", "Whether a helper runs and refreshes the readings.",
                figures ? 1 : 0);
  if (!figures || !figures->processorTime) return;
  const std::chrono::duration<double> used = *figures->processorTime;
  singles.counter("tarvel_helper_cpu_seconds_total", "Processor time that the helper has used.",
                  used.count());
  singles.gauge("tarvel_helper_resident_bytes", "Resident memory of the helper.",
                figures->residentKilobytes * 1024);
  if (figures->millisecondsACycle) {
    singles.gauge("tarvel_helper_cycle_seconds",
                  "Processor time of the helper for one of its cycles, every three seconds.",
                  *figures->millisecondsACycle / 1000);
  }
}

}  // namespace tarvel::viewer
