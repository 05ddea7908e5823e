#include "platform/linux/sensors/fan_labels.h"

#include <algorithm>

#include "platform/linux/sensors/controller_value.h"
#include "platform/linux/sensors/sensor_map.h"

namespace tarvel {
namespace {

// The characters that a controller's name is read by.
bool isKept(char c) { return c > ' ' && c <= '~'; }

std::string plainName(const FanLabel& fan) {
  std::string name;
  std::ranges::copy_if(fan.label, std::back_inserter(name), isKept);
  name = name.substr(0, kFanNameLength);
  if (!name.empty()) return name;
  if (matchesPattern(kGraphicsChips, fan.chip)) return "GPUFan";
  return "Fan" + std::to_string(fan.header);
}

bool isApart(const std::string& name, const std::vector<std::string>& others) {
  return std::ranges::all_of(others, [&](const std::string& other) {
    const auto at = other.find(name);
    return other != name && (at == other.npos || at == 0);
  });
}

std::string withTail(const std::string& name, const std::string& tail) {
  return name.substr(0, kFanNameLength - tail.size()) + tail;
}

}  // namespace

std::vector<std::string> fanNames(const std::vector<FanLabel>& fans) {
  std::vector<std::string> plain;
  for (const auto& fan : fans) plain.push_back(plainName(fan));
  std::vector<std::string> names;
  for (std::size_t i = 0; i < fans.size(); ++i) {
    std::vector<std::string> others = names;
    others.insert(others.end(), plain.begin() + static_cast<std::ptrdiff_t>(i) + 1, plain.end());
    std::string name = plain[i];
    // The first of equal names keeps it.
    std::erase(others, std::ranges::count(names, name) == 0 ? name : std::string());
    if (!isApart(name, others)) name = withTail(plain[i], "#" + std::to_string(fans[i].header));
    for (int count = 2; !isApart(name, others); ++count) {
      name = withTail(plain[i], "#" + std::to_string(fans[i].header) + "." + std::to_string(count));
    }
    names.push_back(std::move(name));
  }
  return names;
}

}  // namespace tarvel
