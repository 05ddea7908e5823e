#pragma once

#include <chrono>
#include <optional>
#include <string>

// Whether a reading is a present one. No viewer shows an old reading as if it were new.

namespace tarvel::viewer {

// Three cycles of the helper, and a second for it to measure.
inline constexpr std::chrono::milliseconds kStaleAfter{10'000};

// A reading whose age is unknown is as good as old: nothing tells that it is present.
constexpr bool isStale(const std::optional<std::chrono::milliseconds>& age) {
  return !age || *age > kStaleAfter;
}

// "42 s", "5 min", "3 h", "2 d"; "unknown age" without one.
std::string ageText(const std::optional<std::chrono::milliseconds>& age);

}  // namespace tarvel::viewer
