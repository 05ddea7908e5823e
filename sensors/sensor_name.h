#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

// The catalogues' tables: what the controller calls a sensor, and what a viewer shows.

namespace tarvel {

struct SensorName {
  std::string_view key;  // a key of four characters, or a fan's own name
  std::string_view display;
};

using SensorKeys = std::span<const std::string_view>;
using SensorNames = std::span<const SensorName>;

// The display name of the first row of this exact key, upper and lower case told apart.
constexpr std::optional<std::string_view> displayName(SensorNames names, std::string_view key) {
  const auto row = std::ranges::find(names, key, &SensorName::key);
  if (row == names.end()) return std::nullopt;
  return row->display;
}

// The keys of a table alone, in its order.
template <std::size_t size>
constexpr std::array<std::string_view, size> keysOf(const std::array<SensorName, size>& names) {
  std::array<std::string_view, size> keys;
  std::ranges::transform(names, keys.begin(), &SensorName::key);
  return keys;
}

}  // namespace tarvel
