#include "programs/export/energy_families.h"

#include <algorithm>
#include <array>
#include <functional>
#include <set>
#include <string_view>
#include <utility>

#include "platform/host/energy_meter.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/store_keys.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kHalfACycle = 1500ms;
constexpr double kMicro = 1e-6;

struct ListedLoad {
  std::string_view key;
  std::string_view column;  // both in hundredths of a core
};

// The first one that knows a process counts. The energy list has applications alone; the processor
// list has the busiest of everything else.
constexpr std::array<ListedLoad, 2> kLoads = {
    {{kEnergyAppUsageKey, "power"}, {kCPUAppUsageKey, "cpu"}}};

std::map<ProcessGroup, double> loadsOf(DefaultsStore& store) {
  std::map<ProcessGroup, double> loads;
  std::set<std::int32_t> known;
  for (const auto& [key, name] : kLoads) {
    for (const auto& reading : readSnapshot(store, {key})) {
      const auto* rows = std::get_if<std::vector<ProcessRow>>(&reading.rows);
      if (rows == nullptr || reading.isStale()) continue;
      for (const auto& row : *rows) {
        const auto load = numberOf(column(row, name));
        if (load && known.insert(row.pid).second) loads[groupOf(row)] += *load;
      }
    }
  }
  return loads;
}

double joules(std::int64_t microjoules) { return static_cast<double>(microjoules) * kMicro; }

}  // namespace

EnergyFamilies::EnergyFamilies(const std::string& root) : times_(kSuiteName), shares_(root) {}

void EnergyFamilies::watch(DefaultsStore& store, Clock::time_point now) {
  const bool isNew = hasNewList(now);
  const bool isLate = lastLook_ && now - *lastLook_ > kStaleAfter;
  if (lastLook_ && !isNew && !isLate) return;
  lastLook_ = now;
  if (!shares_.look({now.time_since_epoch(), presentLookTime().suspended})) return;
  for (const auto& energy : shares_.measured()) measured_[energy.zone] += energy.used;
  // A list tells of three seconds, not of a pause.
  shareOut(isNew && !isLate ? std::optional(loadsOf(store)) : std::nullopt, now);
}

// The system clock, which the times are by, may be set: then a list counts twice or not at all.
bool EnergyFamilies::hasNewList(Clock::time_point now) {
  constexpr auto kPlace = [] {
    std::size_t place = 0;
    while (kPanelTable[place].readingKey != kEnergyAppUsageKey) ++place;
    return place;
  }();
  const auto age = times_.ages()[kPlace];
  if (isStale(age)) return false;
  const auto published = now - *age;
  if (published_ && published - *published_ < kHalfACycle) return false;
  published_ = published;
  return true;
}

void EnergyFamilies::shareOut(const std::optional<std::map<ProcessGroup, double>>& loads,
                              Clock::time_point now) {
  std::optional<std::vector<double>> values;
  if (loads) {
    values.emplace();
    for (const auto& [group, load] : *loads) values->push_back(load);
  }
  const auto parts = shares_.share(values);
  idle_ += parts.idle;
  unlisted_ += parts.unlisted;
  unknown_ += parts.unknown;
  if (loads && parts.listed.size() == loads->size()) attribute(*loads, parts.listed, now);
}

// The largest ones first, for there are fewer series than groups.
void EnergyFamilies::attribute(const std::map<ProcessGroup, double>& groups,
                               const std::vector<std::int64_t>& energies, Clock::time_point now) {
  std::vector<std::pair<std::int64_t, ProcessGroup>> sorted;
  for (auto energy = energies.begin(); const auto& [group, load] : groups) {
    if (*energy > 0) sorted.emplace_back(*energy, group);
    ++energy;
  }
  std::ranges::sort(sorted, std::ranges::greater());
  for (const auto& [energy, group] : sorted) {
    const bool hasSeries = budget_.has(idOf(group), joules(energy), now);
    attributed_[hasSeries ? group : otherGroups()] += energy;
  }
  std::erase_if(attributed_, [&](const auto& attributed) {
    return attributed.first != otherGroups() && !budget_.has(idOf(attributed.first), 0, now);
  });
}

void EnergyFamilies::add(Families& families) const {
  if (measured_.empty()) return;
  using prometheus::MetricType;
  Family measured("tarvel_energy_measured_joules_total",
                  "Energy that the counters of processors and memory in class/powercap have "
                  "counted since the exporter began; not of the whole machine.",
                  MetricType::Counter);
  for (const auto& [zone, energy] : measured_) measured.add({{"zone", zone}}, joules(energy));
  Family attributed("tarvel_energy_attributed_joules_total",
                    "Part of the measured energy above idle, by share of processor time and "
                    "disk traffic: an estimate that knows no clock rates, kinds of cores or "
                    "memory accesses.",
                    MetricType::Counter);
  for (const auto& [group, energy] : attributed_) attributed.add(labelsOf(group), joules(energy));
  Family rest("tarvel_energy_unattributed_joules_total",
              "Measured energy that is nobody's: idle power as learned so far, processes outside "
              "the lists, times without a list.",
              MetricType::Counter);
  rest.add({{"reason", "idle"}}, joules(idle_));
  rest.add({{"reason", "unlisted"}}, joules(unlisted_));
  rest.add({{"reason", "unknown"}}, joules(unknown_));
  for (auto* family : {&measured, &attributed, &rest}) std::move(*family).addTo(families);
}

}  // namespace tarvel::viewer
