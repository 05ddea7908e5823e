#pragma once

#include <array>
#include <bitset>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/store/defaults_store.h"
#include "platform/host/store/reading_times.h"
#include "product/store_keys.h"
#include "viewer/display_rows.h"
#include "viewer/helper_cost.h"
#include "viewer/history.h"
#include "viewer/machine/machine_reader.h"
#include "viewer/process_facts.h"
#include "viewer/reading_age.h"
#include "viewer/readings.h"
#include "viewer/viewer_session.h"

// What an interactive viewer shows, apart from how: the panels with their rows, the machine's
// totals, and what the user has chosen. One thread.

namespace tarvel::viewer {

struct PanelView {
  std::string_view name;  // in the store
  std::string_view key;   // of its readings
  bool isList = false;
  bool isOn = false;      // enabled in the store
  bool isHidden = false;  // by this viewer alone
  std::vector<DisplayRow> rows;
  std::string emptyReason;  // why there are no rows
  std::optional<std::chrono::milliseconds> age;
  bool isStale = false;  // there are rows, and they are not of now

  bool isShown() const { return isOn && !isHidden; }
};

class Model {
 public:
  using Clock = std::chrono::steady_clock;
  using Panels = std::array<PanelView, kPanelTable.size()>;

  // Both outlive the model.
  Model(DefaultsStore& store, ViewerSession& session);

  // Takes in what has changed; true when there is something new to show.
  bool refresh(Clock::time_point now);

  // The rows anew after a choice.
  void rebuild();

  // All panels, in the order of the panel table.
  const Panels& panels() const { return views_; }
  const History& history() const { return histories_; }
  const std::optional<HelperCost::Figures>& helper() const { return helperFigures_; }

  // What the panel's rows were made of; none where it has no reading or is not shown.
  const std::optional<Reading>& reading(std::size_t panel) const { return readings_[panel]; }

  const MachineTotals& machine() const { return totals_; }
  std::size_t samples() const { return samples_; }    // how often the totals were taken
  std::size_t rebuilds() const { return rebuilds_; }  // how often the rows were made
  const Series& processorHistory() const { return processorHistory_; }
  const Series& memoryHistory() const { return memoryHistory_; }

  // Facts of a process that is on the screen; null where it has ended.
  const ProcessFacts* facts(std::int32_t pid) { return facts_.of(pid); }
  std::optional<ProcessRates> rates(std::int32_t pid) { return facts_.ratesOf(pid); }

  // The panel is hidden here, or shown again. In the store it follows only while no other viewer
  // runs: what others look at goes on being measured.
  void togglePanel(std::size_t panel);

  // False where the store takes no writes.
  bool toggleHidden(std::size_t panel, const DisplayRow& row);

  Choices choices;
  std::chrono::milliseconds interval{3000};  // between two samples of the machine's totals

 private:
  void readPanels();
  using Which = std::bitset<kPanelTable.size()>;

  bool lookAtHelper(Clock::time_point now);
  Which updateAges();
  void remember(Which published);
  bool sampleMachine(Clock::time_point now);
  std::string whyEmpty(const PanelView& view, bool hasReading) const;

  DefaultsStore& store_;
  ViewerSession& session_;
  ReadingTimes times_;
  HelperCost cost_;
  History histories_;
  Panels views_;
  std::array<std::optional<Reading>, kPanelTable.size()> readings_;
  std::optional<HelperCost::Figures> helperFigures_;
  ProcessFactsReader facts_;
  MachineReader machineReader_;
  MachineTotals totals_;
  std::size_t samples_ = 0;
  std::size_t rebuilds_ = 0;
  Series processorHistory_;
  Series memoryHistory_;
  std::optional<Clock::time_point> lastLook_;
  std::optional<Clock::time_point> lastSample_;
  std::optional<DefaultsStore::ChangeToken> shownToken_;
};

}  // namespace tarvel::viewer
