#include "programs/window/sensor_rows.h"

#include "programs/window/figures.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

QString text(std::string_view view) {
  return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

TreeRow rowOf(const Model& model, const PanelView& panel, const DisplayRow& row,
              const SensorContext& context) {
  const bool isFahrenheit = model.choices.isFahrenheit;
  const auto shown = [&](double number) {
    return sensorText(panel.key, number, row.value, isFahrenheit);
  };
  const auto* series = model.history().of(row.id);
  const auto threshold = context.thresholds.find(row.id);
  TreeRow result;
  result.key = QString::fromStdString(row.id);
  result.cells = {QString::fromStdString(row.name),
                  QString::fromStdString(row.value),
                  series != nullptr ? shown(series->minimum()) : QString(),
                  series != nullptr ? shown(series->maximum()) : QString(),
                  threshold != context.thresholds.end() ? shown(threshold->second) : QString(),
                  context.sourceOf(panel, row)};
  if (row.isHidden) result.cells[0] += " (hidden)";
  result.toolTip = row.name == row.sensor ? QString() : QString::fromStdString(row.sensor);
  result.level = row.level;
  result.isDim = row.isHidden || panel.isStale;
  return result;
}

}  // namespace

std::vector<RowTree::Column> sensorColumns() {
  return {{"Sensor"},     {"Now", true},          {"Least", true},
          {"Most", true}, {"Notify above", true}, {"Read from"}};
}

std::vector<TreeRow> sensorRows(const Model& model, const SensorContext& context) {
  std::vector<TreeRow> kinds;
  for (const auto& panel : model.panels()) {
    if (panel.isList) continue;
    TreeRow kind;
    kind.key = text(panel.name);
    kind.cells = {text(panelTitle(panel.name))};
    if (panel.rows.empty()) kind.cells[0] += ": " + QString::fromStdString(panel.emptyReason);
    if (panel.isStale) kind.cells[0] += ", old: " + QString::fromStdString(ageText(panel.age));
    kind.isDim = panel.rows.empty();
    kind.isHeading = !kind.isDim;
    for (const auto& row : panel.rows) kind.children.push_back(rowOf(model, panel, row, context));
    kinds.push_back(std::move(kind));
  }
  return kinds;
}

}  // namespace tarvel::viewer
