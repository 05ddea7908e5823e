#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/store/defaults_store.h"
#include "viewer/display_rows.h"
#include "viewer/helper_cost.h"
#include "viewer/history.h"
#include "viewer/readings.h"

// What the dashboard shows, apart from how: the enabled panels with their rows, and what the user
// has chosen.

namespace tarvel {
class ApplicationRegistry;
}

namespace tarvel::viewer {

struct PanelView {
  std::string_view name;  // in the store
  std::string_view key;   // of its readings
  bool isList = false;
  std::vector<DisplayRow> rows;
  std::string emptyReason;  // why there are no rows
};

class Model {
 public:
  using Clock = std::chrono::steady_clock;

  Model(DefaultsStore& store, const ApplicationRegistry& registry);

  // Takes in what has changed; true when there is something new to show.
  bool refresh(Clock::time_point now);

  // The rows anew after a choice.
  void rebuild();

  const std::vector<PanelView>& panels() const { return views_; }
  const History& history() const { return histories_; }
  const std::optional<HelperCost::Figures>& helper() const { return helperFigures_; }

  // How long nothing has changed; none while readings come as they should.
  std::optional<std::chrono::seconds> staleFor(Clock::time_point now) const;

  void switchPanel(std::string_view panel);
  bool toggleHidden(const PanelView& panel, const DisplayRow& row);  // false: not stored

  Choices choices;

 private:
  void readPanels();
  void remember();

  DefaultsStore& store_;
  const ApplicationRegistry& registry_;
  HelperCost cost_;
  History histories_;
  std::vector<PanelView> views_;
  std::vector<std::optional<Reading>> readings_;  // of the views, as they were read last
  std::optional<HelperCost::Figures> helperFigures_;
  Clock::time_point lastChange_;
  std::optional<DefaultsStore::ChangeToken> shownToken_;
};

}  // namespace tarvel::viewer
