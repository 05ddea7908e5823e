#pragma once

#include <string_view>

namespace tarvel::update {

// Orders two versions by their numbers from the left, "1.2.10" after "1.2.9", "1.2" before "1.2.1":
// negative, zero or positive. A part that is no number counts as 0.
int compareVersions(std::string_view a, std::string_view b);

}  // namespace tarvel::update
