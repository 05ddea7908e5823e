#pragma once

#include "programs/window/icons.h"
#include "programs/window/page.h"
#include "viewer/model.h"

class QLabel;

namespace tarvel::viewer {

class CoreBars;
class Graph;
class RankedList;

// The machine at a glance.
class OverviewPage : public Page {
 public:
  // The icons outlive the page.
  explicit OverviewPage(ApplicationIcons& icons);

  void refresh(Watching& watching) override;
  bool showsTotals() const override { return true; }

 private:
  void lay();
  void showTotals(Watching& watching);
  void showMemory(const Model& model);
  void showApplications(const Model& model);
  void showSensors(const Model& model);

  ApplicationIcons& icons_;
  std::size_t samples_ = 0;
  QLabel* state_;
  Graph* processor_;
  CoreBars* cores_;
  Graph* memory_;
  Graph* disks_;
  Graph* networks_;
  Graph* pressure_;
  RankedList* applications_;
  RankedList* hottest_;
  RankedList* fans_;
};

}  // namespace tarvel::viewer
