#pragma once

#include <string_view>
#include <vector>

#include "programs/viewer/dashboard/model.h"
#include "programs/viewer/readings.h"

namespace tarvel::viewer {

// The rows that a reading is shown by: filtered, grouped and ordered as chosen.
std::vector<DisplayRow> displayRows(std::string_view key, const Reading& reading,
                                    const Choices& choices);

// The number in the form of another value of its kind: a percentage, bytes, with two
// decimals where that has a unit, else with one.
std::string textLike(const std::string& other, double number);

}  // namespace tarvel::viewer
