#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvel::viewer {

// The known word that the typed one was probably meant to be: at most two letters inserted, left
// out, exchanged or swapped with their neighbour. None where no word is that near. Pure.
std::optional<std::string> nearestWord(std::string_view typed,
                                       const std::vector<std::string>& known);

}  // namespace tarvel::viewer
