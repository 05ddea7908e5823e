#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "programs/window/alarms.h"
#include "programs/window/page.h"
#include "programs/window/row_tree.h"
#include "programs/window/sensor_rows.h"
#include "programs/window/window_settings.h"
#include "viewer/sources/source_listing.h"

class QAction;
class QButtonGroup;
class QCheckBox;
class QDoubleSpinBox;
class QLabel;
class QTreeView;

namespace tarvel::viewer {

class Graph;

// The sensors by kind, with the history of the selected one, its threshold and its source below.
class SensorPage : public Page {
 public:
  struct Hooks {
    std::function<void(const QString& message)> tell;
    std::function<void()> settingsChanged;  // thresholds, names or the unit
    // A name for a sensor; none when the question was left.
    std::function<std::optional<QString>(const QString& sensor, const QString& now)> askName;
  };

  // Settings and alarms outlive the page.
  SensorPage(WindowSettings& settings, Alarms& alarms, Hooks hooks);
  ~SensorPage() override;

  void refresh(Watching& watching) override;
  void leave() override { watching_ = nullptr; }

  void rename();
  void toggleHidden();
  void setContextActions(const QList<QAction*>& actions);  // of the table's own menu

  // The identity of the selected sensor's row; empty for none.
  QString selected() const;

 private:
  QWidget* makeDetails();
  void buildView();
  void rebuild();
  void showSelected();
  void showHistory(const PanelView& panel, const DisplayRow& row);
  void setThreshold();
  QString sourceOf(const PanelView& panel, const DisplayRow& row) const;

  WindowSettings& settings_;
  Alarms& alarms_;
  Hooks hooks_;
  Watching* watching_ = nullptr;
  SourceListing sources_;
  RowTree rows_;
  QTreeView* view_;
  Graph* graph_;
  QButtonGroup* times_;
  QLabel* source_;
  QCheckBox* notifies_;
  QDoubleSpinBox* threshold_;
  bool isShowing_ = false;  // controls change because another sensor is shown
};

}  // namespace tarvel::viewer
