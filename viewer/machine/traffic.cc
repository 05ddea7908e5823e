#include "viewer/machine/traffic.h"

#include "text/words.h"

namespace tarvel::viewer {
namespace {

constexpr std::uint64_t kSector = 512;

void skipWords(std::string_view& line, int count) {
  for (int i = 0; i < count; ++i) takeWord(line);
}

// Counters of 32-bit machines wrap, and those of a device that was made anew start at 0.
std::uint64_t growth(std::uint64_t now, std::uint64_t before) {
  return now >= before ? now - before : 0;
}

}  // namespace

bool TrafficMeter::isCounted(std::string_view device) {
  auto known = known_.find(device);
  if (known == known_.end()) {
    known = known_.emplace(std::string(device), counts_(std::string(device))).first;
  }
  return known->second;
}

std::optional<Traffic> TrafficMeter::since(Devices devices, Clock::time_point now) {
  std::optional<Traffic> traffic;
  if (last_ && now > *last_) {
    const double seconds = std::chrono::duration<double>(now - *last_).count();
    const Counters last = sinceFirst_;
    for (const auto& [name, counters] : devices) {
      const auto before = before_.find(name);
      if (before == before_.end()) continue;
      sinceFirst_.in += growth(counters.in, before->second.in);
      sinceFirst_.out += growth(counters.out, before->second.out);
    }
    traffic = {static_cast<double>(sinceFirst_.in - last.in) / seconds,
               static_cast<double>(sinceFirst_.out - last.out) / seconds, sinceFirst_.in,
               sinceFirst_.out};
  }
  before_ = std::move(devices);
  last_ = now;
  return traffic;
}

std::optional<Traffic> TrafficMeter::ofDisks(std::string_view diskstats, Clock::time_point now) {
  Devices devices;
  while (!diskstats.empty()) {
    auto line = takeLine(diskstats);
    skipWords(line, 2);  // device number
    const auto name = takeWord(line);
    if (name.empty() || !isCounted(name)) continue;
    Counters counters;
    skipWords(line, 2);  // reads, merged
    counters.in = wholeNumber(takeWord(line)) * kSector;
    skipWords(line, 3);  // time, writes, merged
    counters.out = wholeNumber(takeWord(line)) * kSector;
    devices.emplace(name, counters);
  }
  return since(std::move(devices), now);
}

std::optional<Traffic> TrafficMeter::ofNetworks(std::string_view dev, Clock::time_point now) {
  Devices devices;
  while (!dev.empty()) {
    auto line = takeLine(dev);
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) continue;  // the two lines of the heading
    auto start = line.substr(0, colon);
    const auto name = takeWord(start);
    line.remove_prefix(colon + 1);
    if (!isCounted(name)) continue;
    Counters counters;
    counters.in = wholeNumber(takeWord(line));
    skipWords(line, 7);
    counters.out = wholeNumber(takeWord(line));
    devices.emplace(name, counters);
  }
  return since(std::move(devices), now);
}

}  // namespace tarvel::viewer
