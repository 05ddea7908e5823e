#pragma once

#include <QString>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "programs/window/row_tree.h"
#include "viewer/model.h"

// The sensors as rows, below one row for each kind. Pure.

namespace tarvel::viewer {

enum class SensorColumn { kName, kNow, kLeast, kMost, kThreshold, kFrom };
std::vector<RowTree::Column> sensorColumns();

struct SensorContext {
  std::map<std::string, double> thresholds;  // by identity of the row
  // Where a sensor is read from; empty where that is not known.
  std::function<QString(const PanelView& panel, const DisplayRow& row)> sourceOf;
};

// Rows have the identity of the model's rows as their keys, kinds the name of their panel. A kind
// without sensors tells why.
std::vector<TreeRow> sensorRows(const Model& model, const SensorContext& context);

}  // namespace tarvel::viewer
