#include "viewer/machine/amounts.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace tarvel::viewer {

std::string bytesText(double bytes) {
  constexpr std::array kUnits = {'K', 'M', 'G', 'T', 'P'};
  constexpr double kStep = 1024;
  double amount = std::max(bytes, 0.0) / kStep;
  std::size_t unit = 0;
  while (amount >= 999.5 && unit + 1 < kUnits.size()) {
    amount /= kStep;
    ++unit;
  }
  std::array<char, 24> text{};
  const bool decimal = unit > 0 && amount < 9.95;
  std::snprintf(text.data(), text.size(), decimal ? "%.1f%c" : "%.0f%c", amount, kUnits[unit]);
  return text.data();
}

std::string hoursText(std::chrono::minutes time) {
  std::array<char, 32> text{};
  const auto minutes = std::max<long>(time.count(), 0);
  std::snprintf(text.data(), text.size(), "%ld:%02ld", minutes / 60, minutes % 60);
  return text.data();
}

std::string durationText(std::chrono::seconds time) {
  const long minutes = static_cast<long>(time.count() / 60);
  const long hours = minutes / 60;
  if (hours >= 24) return std::to_string(hours / 24) + "d " + std::to_string(hours % 24) + "h";
  if (hours > 0) return std::to_string(hours) + "h " + std::to_string(minutes % 60) + "m";
  return std::to_string(minutes) + "m";
}

}  // namespace tarvel::viewer
