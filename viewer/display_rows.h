#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "viewer/readings.h"

// Readings as rows to show: what every viewer lists, whatever it draws them with. Pure.

namespace tarvel::viewer {

struct ProcessFacts;

enum class Level { kNormal, kWarm, kHot };

// Warm from 75 °C, hot from 90 °C: where laptops begin to throttle.
Level temperatureLevel(double degrees);

// What a graph of the row reaches from and to. Both 0: the row's own least and largest.
struct Scale {
  double from = 0;
  double to = 0;
};

struct DisplayRow {
  std::string id;      // the same at every refresh: of its history, and of the selection
  std::string name;    // an alias, where the user gave one
  std::string sensor;  // the name in the store, of a sensor
  std::string value;   // with its unit
  std::string note;    // what stands beside it: an application, a user, a range
  std::string user;    // of a process, where the list tells
  std::optional<double> number;
  double share = 0;  // of a full bar, 0 to 1
  Scale scale;
  Level level = Level::kNormal;
  bool isApplication = false;
  bool isHidden = false;  // by its viewer flag
  std::size_t place = 0;  // among the sensors of its name
  int depth = 0;          // in the tree of processes
  std::int32_t pid = 0;   // of a process, else 0
};

enum class Order { kListed, kValue, kName, kPid };

// The viewers' own names of sensors, by reading key and the sensor's name.
using Aliases = std::map<std::pair<std::string, std::string>, std::string>;

struct Choices {
  Order order = Order::kListed;    // as the helper lists them
  std::string filter;              // part of a name, a command line, a user or an application
  std::string_view filteredPanel;  // its reading key; empty: all panels
  bool isGrouped = false;          // processes of one application as one row
  bool isTree = false;             // processes below their parents
  bool showsHidden = false;        // sensors that were hidden as well
  bool isFrozen = false;
  bool isFahrenheit = false;
  Aliases aliases;
};

// Looks a process up; null where nothing is known of it.
using FactsOf = std::function<const ProcessFacts*(std::int32_t pid)>;

// The rows that a reading is shown by: filtered, grouped and ordered as chosen. Processes are
// looked up only where that is needed: for names that the kernel cut, for a filter, for the tree.
std::vector<DisplayRow> displayRows(std::string_view key, const Reading& reading,
                                    const Choices& choices, const FactsOf& factsOf);

// The number in the form of another value of its kind: a percentage, bytes, with two
// decimals where that has a unit, else with one.
std::string textLike(const std::string& other, double number);

}  // namespace tarvel::viewer
