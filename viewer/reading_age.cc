#include "viewer/reading_age.h"

#include <utility>

namespace tarvel::viewer {

std::string ageText(const std::optional<std::chrono::milliseconds>& age) {
  if (!age) return "unknown age";
  constexpr std::pair<long, const char*> kUnits[] = {{86400, " d"}, {3600, " h"}, {60, " min"}};
  const long seconds = static_cast<long>(age->count() / 1000);
  for (const auto& [length, unit] : kUnits) {
    if (seconds >= length) return std::to_string(seconds / length) + unit;
  }
  return std::to_string(seconds) + " s";
}

}  // namespace tarvel::viewer
