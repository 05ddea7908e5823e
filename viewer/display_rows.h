#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "viewer/readings.h"

// Readings as rows to show: what every viewer lists, whatever it draws them with. Pure.

namespace tarvel::viewer {

enum class Level { kNormal, kWarm, kHot };

struct DisplayRow {
  std::string id;  // of its history
  std::string name;
  std::string value;  // with its unit
  std::string note;   // what stands beside it: a user, a range
  std::optional<double> number;
  double share = 0;  // of a full bar, 0 to 1
  Level level = Level::kNormal;
  bool isApplication = false;
  bool isHidden = false;  // by its viewer flag
  std::int32_t pid = 0;   // of a process, else 0
};

enum class Order { kListed, kValue, kName, kPid };

struct Choices {
  Order order = Order::kListed;  // as the helper lists them
  std::string filter;            // part of a name, any case; empty: all
  bool isGrouped = false;        // processes of one application as one row
  bool showsHidden = false;      // sensors that were hidden as well
  bool isFrozen = false;
};

// The rows that a reading is shown by: filtered, grouped and ordered as chosen.
std::vector<DisplayRow> displayRows(std::string_view key, const Reading& reading,
                                    const Choices& choices);

// The number in the form of another value of its kind: a percentage, bytes, with two
// decimals where that has a unit, else with one.
std::string textLike(const std::string& other, double number);

}  // namespace tarvel::viewer
