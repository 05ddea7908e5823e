#pragma once

#include <bitset>
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "viewer/model.h"
#include "viewer/viewer_session.h"

// What there is while something is watched: the registration, and with it the measuring helper, the
// model, and the histories that the graphs of the window take beyond the model's. Nothing of it is
// there while nobody looks. One thread.

namespace tarvel::viewer {

// The last ten minutes of the totals that the model keeps no history of.
struct TotalsHistory {
  Series diskRead, diskWritten, received, sent;            // bytes a second
  Series processorPressure, memoryPressure, diskPressure;  // percent
};

class Watching {
 public:
  using Clock = Model::Clock;

  // The store must outlive the object.
  Watching(DefaultsStore& store, bool startsHelper);

  // What a refresh has brought.
  struct News {
    bool readings = false;  // also that some are old now
    bool totals = false;
  };
  News refresh(Clock::time_point now);

  Model& model() { return model_; }
  const TotalsHistory& totals() const { return totals_; }
  bool canStartHelper() const { return session_.canStartHelper(); }

  // The last hour of a sensor's row, a value every kHourStep; null where there is none.
  static constexpr std::chrono::seconds kHourStep{18};
  const Series* hourOf(std::string_view row) const { return hour_.of(row); }

 private:
  void addTotals(const MachineTotals& now);
  void addHour(Clock::time_point now);
  std::bitset<kPanelTable.size()> stalePanels() const;

  ViewerSession session_;
  Model model_;
  TotalsHistory totals_;
  std::size_t samples_ = 0;
  std::size_t rebuilds_ = 0;
  std::bitset<kPanelTable.size()> stale_;
  History hour_;
  Clock::time_point lastOfHour_;
};

}  // namespace tarvel::viewer
