#include "programs/export/process_families.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "product/store_keys.h"

namespace tarvel::viewer {
namespace {

struct Metric {
  std::string_view key;
  std::string_view column;
  double unit;  // of the column, in that of the metric
  std::string_view name;
  std::string_view help;
};

constexpr std::array<Metric, 4> kMetricTable = {{
    {kCPUAppUsageKey, "cpu", 0.01, "tarvel_process_cpu_ratio", "Used share of one processor core."},
    {kMEMAppUsageKey, "mem", 1, "tarvel_process_memory_bytes", "Resident memory."},
    {kMEMAppUsageKey, "cmprs", 1, "tarvel_process_compressed_bytes", "Swapped memory."},
    {kEnergyAppUsageKey, "power", 1, "tarvel_process_energy_impact",
     "Energy impact, a number without unit."},
}};

struct Sample {
  Labels labels;
  double value = 0;
};

// Without the padding of the store, and of the kernel's threads only what they do:
// "kworker/0:1-events" has another name every second.
std::string nameOf(const ProcessRow& row) {
  const std::string name = row.name.substr(0, row.name.find_last_not_of(' ') + 1);
  const auto slash = name.find('/');
  return slash == 0 ? name : name.substr(0, slash);
}

Labels processLabels(const ProcessRow& row) {
  Labels labels = {{"pid", std::to_string(row.pid)}};
  for (auto& label : labelsOf({applicationOf(row), nameOf(row)})) {
    labels.push_back(std::move(label));
  }
  if (const auto user = column(row, "user"); !user.empty()) labels.emplace_back("user", user);
  return labels;
}

std::optional<double> valueOf(const ProcessRow& row, const Metric& metric) {
  const auto number = numberOf(column(row, metric.column));
  return number ? std::optional(*number * metric.unit) : number;
}

std::vector<Sample> samplesOfProcesses(const std::vector<ProcessRow>& rows, const Metric& metric) {
  std::vector<Sample> samples;
  for (const auto& row : rows) {
    if (const auto value = valueOf(row, metric)) samples.push_back({processLabels(row), *value});
  }
  std::ranges::stable_sort(samples, std::ranges::greater(), &Sample::value);
  samples.resize(std::min(samples.size(), SeriesBudget::kMost));
  return samples;
}

std::vector<std::pair<ProcessGroup, double>> sumsOfGroups(const std::vector<ProcessRow>& rows,
                                                          const Metric& metric) {
  std::map<ProcessGroup, double> sums;
  for (const auto& row : rows) {
    if (const auto value = valueOf(row, metric)) sums[groupOf(row)] += *value;
  }
  std::vector<std::pair<ProcessGroup, double>> sorted(sums.begin(), sums.end());
  std::ranges::stable_sort(sorted, std::ranges::greater(),
                           [](const auto& sum) { return sum.second; });
  return sorted;
}

std::vector<Sample> samplesOfGroups(const std::vector<ProcessRow>& rows, const Metric& metric,
                                    SeriesBudget& budget, SeriesBudget::Clock::time_point now) {
  std::vector<Sample> samples;
  double others = 0;
  for (const auto& [group, sum] : sumsOfGroups(rows, metric)) {
    if (budget.has(idOf(group), sum, now)) {
      samples.push_back({labelsOf(group), sum});
    } else {
      others += sum;
    }
  }
  if (others > 0) samples.push_back({labelsOf(otherGroups()), others});
  return samples;
}

}  // namespace

ProcessGroup groupOf(const ProcessRow& row) {
  const auto application = applicationOf(row);
  return {application, application.empty() ? nameOf(row) : std::string()};
}

ProcessGroup otherGroups() { return {{}, "other"}; }

std::string idOf(const ProcessGroup& group) { return group.application + "\n" + group.name; }

Labels labelsOf(const ProcessGroup& group) {
  return {{"application", group.application}, {"name", group.name}};
}

void ProcessFamilies::add(const StoredReading& reading, Clock::time_point now, Families& families) {
  static_assert(kMetricTable.size() == kMetrics);
  const auto* rows = std::get_if<std::vector<ProcessRow>>(&reading.rows);
  if (rows == nullptr) return;
  for (std::size_t i = 0; i < kMetricTable.size(); ++i) {
    const Metric& metric = kMetricTable[i];
    if (metric.key != reading.key) continue;
    Family family(metric.name, metric.help);
    const auto samples = labels_ == ProcessLabels::kProcesses
                             ? samplesOfProcesses(*rows, metric)
                             : samplesOfGroups(*rows, metric, budgets_[i], now);
    for (const auto& sample : samples) family.add(sample.labels, sample.value);
    std::move(family).addTo(families);
  }
}

}  // namespace tarvel::viewer
