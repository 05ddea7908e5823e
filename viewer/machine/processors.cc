#include "viewer/machine/processors.h"

#include <algorithm>

#include "text/words.h"

namespace tarvel::viewer {

// The columns are user, nice, system, idle, iowait, irq, softirq, steal, guest, guest_nice. The
// time of guests is part of user and nice already.
ProcessorUsage::Times ProcessorUsage::timesOf(std::string_view line) {
  constexpr int kColumns = 8;
  constexpr int kIdle = 3;
  constexpr int kWaiting = 4;
  Times times;
  for (int column = 0; column < kColumns; ++column) {
    const auto ticks = wholeNumber(takeWord(line));
    times.all += ticks;
    if (column != kIdle && column != kWaiting) times.busy += ticks;
  }
  return times;
}

// Idle and waiting times may step back a little (proc(5)): a share never leaves its range.
double ProcessorUsage::share(const Times& before, const Times& now) {
  if (now.all <= before.all || now.busy < before.busy) return 0;
  const auto busy = static_cast<double>(now.busy - before.busy);
  return std::min(busy / static_cast<double>(now.all - before.all), 1.0);
}

std::optional<Processors> ProcessorUsage::since(std::string_view stat) {
  std::vector<std::uint64_t> numbers;
  std::vector<Times> cores;
  Times all;
  while (!stat.empty()) {
    auto line = takeLine(stat);
    const auto name = takeWord(line);
    if (!name.starts_with("cpu")) break;  // they come first, and the rest is long
    if (name == "cpu") {
      all = timesOf(line);
      continue;
    }
    numbers.push_back(wholeNumber(name.substr(3)));
    cores.push_back(timesOf(line));
  }
  Processors usage;
  const bool comparable = all_.all != 0 && all.all > all_.all;
  if (comparable) {
    usage.busy = share(all_, all);
    for (std::size_t i = 0; i < cores.size(); ++i) {
      const auto before = std::find(numbers_.begin(), numbers_.end(), numbers[i]);
      const auto index = static_cast<std::size_t>(before - numbers_.begin());
      usage.cores.push_back(before != numbers_.end() ? share(cores_[index], cores[i]) : 0);
    }
  }
  all_ = all;
  numbers_ = std::move(numbers);
  cores_ = std::move(cores);
  return comparable ? std::optional(std::move(usage)) : std::nullopt;
}

}  // namespace tarvel::viewer
