#include "programs/tarvel/metrics.h"

#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "product/store_keys.h"
#include "text/printable_text.h"

namespace tarvel::viewer {
namespace {

constexpr double kPercent = 100;
constexpr int kDigits = 15;  // what a double holds of a decimal number

std::string numberText(double number) {
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                 std::chars_format::general, kDigits)
                       .ptr;
  return {text.data(), end};
}

// A label's value: backslashes and quotes are escaped; control characters and what is no UTF-8
// become "?".
std::string escaped(std::string_view text) {
  std::string value;
  for (const char c : printableText(text)) {
    if (c == '\\' || c == '"') value += '\\';
    value += c;
  }
  return value;
}

using Labels = std::vector<std::pair<std::string_view, std::string>>;

// One metric: its samples under its heading, which stands only where there are samples.
class Metric {
 public:
  Metric(std::string_view name, std::string_view help) : name_(name), help_(help) {}

  void add(const Labels& labels, std::optional<double> number) {
    if (!number) return;
    std::string text;
    for (const auto& [label, value] : labels) {
      text += (text.empty() ? "{" : ",") + std::string(label) + "=\"" + escaped(value) + "\"";
    }
    if (!text.empty()) text += "}";
    if (!seen_.insert(text).second) return;
    samples_ += std::string(name_) + text + " " + numberText(*number) + "\n";
  }

  std::string text() const {
    if (samples_.empty()) return {};
    const std::string name(name_);
    return "# HELP " + name + " " + std::string(help_) + "\n# TYPE " + name + " gauge\n" + samples_;
  }

 private:
  std::string_view name_;
  std::string_view help_;
  std::string samples_;
  std::set<std::string> seen_;
};

std::string trimmed(const std::string& text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

Labels labelsOf(const ProcessRow& row) {
  Labels labels = {{"pid", std::to_string(row.pid)},
                   {"name", trimmed(row.name)},
                   {"application", applicationOf(row)}};
  if (const auto user = column(row, "user"); !user.empty()) labels.emplace_back("user", user);
  return labels;
}

std::optional<double> ratio(std::optional<double> percent) {
  return percent ? std::optional(*percent / kPercent) : percent;
}

struct MetricsOf {
  std::string_view key;

  std::string operator()(const std::vector<ProcessRow>& rows) const {
    Metric load("tarvel_process_cpu_ratio", "Share of one processor core that the process used.");
    Metric memory("tarvel_process_memory_bytes", "Resident memory of the process.");
    Metric compressed("tarvel_process_compressed_bytes", "Swapped memory of the process.");
    Metric energy("tarvel_process_energy_impact", "Energy impact of the process, without unit.");
    for (const auto& row : rows) {
      const auto labels = labelsOf(row);
      load.add(labels, ratio(numberOf(column(row, "cpu"))));
      memory.add(labels, numberOf(column(row, "mem")));
      compressed.add(labels, numberOf(column(row, "cmprs")));
      energy.add(labels, numberOf(column(row, "power")));
    }
    return load.text() + memory.text() + compressed.text() + energy.text();
  }

  std::string operator()(const std::vector<SensorRow>& rows) const {
    Metric metric = sensorMetric();
    std::map<std::string, int> places;
    for (const auto& row : rows) {
      const auto place = std::to_string(++places[row.name]);
      metric.add({{"sensor", row.name}, {"place", place}}, numberOf(row.value));
    }
    return metric.text();
  }

  std::string operator()(const std::vector<FanRow>& rows) const {
    Metric current("tarvel_fan_rpm", "Speed of the fan.");
    Metric minimum("tarvel_fan_minimum_rpm", "Lowest speed of the fan.");
    Metric maximum("tarvel_fan_maximum_rpm", "Highest speed of the fan.");
    std::map<std::string, int> places;
    for (const auto& row : rows) {
      const Labels labels = {{"fan", row.name}, {"place", std::to_string(++places[row.name])}};
      current.add(labels, numberOf(row.current));
      minimum.add(labels, numberOf(row.minimum));
      maximum.add(labels, numberOf(row.maximum));
    }
    return current.text() + minimum.text() + maximum.text();
  }

  Metric sensorMetric() const {
    if (key == kTempValuesKey) return {"tarvel_temperature_celsius", "Temperature of the sensor."};
    if (key == kVoltageValuesKey) return {"tarvel_voltage_volts", "Voltage of the sensor."};
    if (key == kPowerValuesKey) return {"tarvel_power_watts", "Power of the sensor."};
    return {"tarvel_current_amperes", "Current of the sensor."};
  }
};

}  // namespace

std::string metricsOf(const Snapshot& snapshot, bool helperRuns) {
  Metric helper("tarvel_helper_up", "Whether a helper runs and refreshes the readings.");
  helper.add({}, helperRuns ? 1 : 0);
  Metric age("tarvel_reading_age_seconds", "Time since the helper published the reading.");
  std::string readings;
  for (const auto& reading : snapshot) {
    if (!reading.age) continue;
    age.add({{"reading", std::string(reading.key)}},
            std::chrono::duration<double>(*reading.age).count());
    if (!reading.isStale()) readings += std::visit(MetricsOf{reading.key}, reading.rows);
  }
  return helper.text() + age.text() + readings;
}

std::string metricsOf(const MachineTotals& totals) {
  std::string text;
  const auto add = [&](std::string_view name, std::string_view help, auto number) {
    Metric metric(name, help);
    metric.add({}, static_cast<double>(number));
    text += metric.text();
  };
  add("tarvel_machine_uptime_seconds", "Time since the machine started.", totals.uptime.count());
  if (const auto& processors = totals.processors) {
    add("tarvel_machine_cpu_ratio", "Share of all processors that is busy.", processors->busy);
  }
  if (const auto& memory = totals.memory) {
    add("tarvel_machine_memory_bytes", "Memory of the machine.", memory->total);
    add("tarvel_machine_memory_used_bytes", "Memory that is not available.", memory->used);
    add("tarvel_machine_swap_used_bytes", "Swap that is in use.", memory->swapUsed);
  }
  if (const auto& load = totals.load) {
    add("tarvel_machine_load", "Load, averaged over one minute.", load->one);
  }
  if (const auto& disks = totals.disks) {
    add("tarvel_machine_disk_read_bytes_per_second", "Read from disks.", disks->in);
    add("tarvel_machine_disk_written_bytes_per_second", "Written to disks.", disks->out);
  }
  if (const auto& networks = totals.networks) {
    add("tarvel_machine_network_received_bytes_per_second", "Received.", networks->in);
    add("tarvel_machine_network_sent_bytes_per_second", "Sent.", networks->out);
  }
  if (const auto& battery = totals.battery) {
    add("tarvel_machine_battery_ratio", "Charge of the battery.", battery->charge);
  }
  return text;
}

}  // namespace tarvel::viewer
