#include "viewer/machine/energy_counters.h"

#include <filesystem>
#include <limits>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>

#include "text/words.h"

namespace tarvel::viewer {
namespace {

// "intel-rapl-mmio:0" would be the counter of "intel-rapl:0" once more.
constexpr std::string_view kZones = "intel-rapl:";

std::string lineIn(const std::string& path) {
  KeptFile file(path);
  auto text = file.read();
  return std::string(takeLine(text));
}

std::optional<std::int64_t> counterOf(std::string_view text) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
  const auto number = wholeNumber(text);
  if (text.empty() || number > kMost) return std::nullopt;
  return static_cast<std::int64_t>(number);
}

}  // namespace

// Empty for a zone that does not count beside the others.
std::string EnergyCounters::nameOf(const std::string& entry) const {
  const auto name = lineIn(folder_ + entry + "/name");
  if (name.starts_with("package-")) return name;
  const auto colon = entry.rfind(':');
  const bool isBelow = colon >= kZones.size();
  return name == "dram" && isBelow ? lineIn(folder_ + entry.substr(0, colon) + "/name") + " dram"
                                   : std::string();
}

void EnergyCounters::findZones() {
  std::set<std::string> entries;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder_, error), end; !error && entry != end;
       entry.increment(error)) {
    entries.insert(entry->path().filename().string());
  }
  std::erase_if(zones_, [&](const auto& zone) { return !entries.contains(zone.first); });
  for (const auto& entry : entries) {
    if (!entry.starts_with(kZones) || zones_.contains(entry)) continue;
    const auto name = nameOf(entry);
    const auto range = counterOf(lineIn(folder_ + entry + "/max_energy_range_uj"));
    if (name.empty() || range.value_or(0) == 0) continue;
    zones_.emplace(entry,
                   Zone{name, KeptFile(folder_ + entry + "/energy_uj"), EnergyMeter(*range)});
  }
}

std::vector<ZoneEnergy> EnergyCounters::look(const EnergyLookTime& time) {
  findZones();
  std::vector<ZoneEnergy> energies;
  for (auto& [entry, zone] : zones_) {
    const auto counter = counterOf(zone.energy.read());
    if (!counter) {
      zone.meter.reset();  // it may begin anew when it comes back
      continue;
    }
    zone.meter.look(*counter, time);
    if (const auto used = zone.meter.used()) energies.push_back({zone.name, *used});
  }
  return energies;
}

}  // namespace tarvel::viewer
