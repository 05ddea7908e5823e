#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/defaults_store.h"
#include "programs/viewer/dashboard/helper_cost.h"
#include "programs/viewer/dashboard/history.h"
#include "programs/viewer/readings.h"

// What the dashboard shows, apart from how: the enabled panels with their rows, and what the user
// has chosen.

namespace tarvel {
class ApplicationRegistry;
}

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

struct PanelView {
  std::string_view name;  // in the store
  std::string_view key;   // of its readings
  bool isList = false;
  std::vector<DisplayRow> rows;
  std::string emptyReason;  // why there are no rows
};

enum class Order { kListed, kValue, kName, kPid };

struct Choices {
  Order order = Order::kListed;  // as the helper lists them
  std::string filter;            // part of a name, any case; empty: all
  bool isGrouped = false;        // processes of one application as one row
  bool showsHidden = false;      // sensors that were hidden as well
  bool isFrozen = false;
};

class Model {
 public:
  using Clock = std::chrono::steady_clock;

  Model(DefaultsStore& store, const ApplicationRegistry& registry);

  // Takes in what has changed; true when there is something new to show.
  bool refresh(Clock::time_point now);

  // The rows anew after a choice.
  void rebuild();

  const std::vector<PanelView>& panels() const { return views; }
  const History& history() const { return histories; }
  const std::optional<HelperCost::Figures>& helper() const { return helperFigures; }

  // How long nothing has changed; none while readings come as they should.
  std::optional<std::chrono::seconds> staleFor(Clock::time_point now) const;

  void switchPanel(std::string_view panel);
  void toggleHidden(const PanelView& panel, const DisplayRow& row);

  Choices choices;

 private:
  void readPanels();
  void remember();

  DefaultsStore& store;
  const ApplicationRegistry& registry;
  HelperCost cost;
  History histories;
  std::vector<PanelView> views;
  std::vector<std::optional<Reading>> readings;  // of the views, as they were read last
  std::optional<HelperCost::Figures> helperFigures;
  Clock::time_point lastChange;
  std::optional<DefaultsStore::ChangeToken> shownToken;
};

}  // namespace tarvel::viewer
