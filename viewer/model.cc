#include "viewer/model.h"

#include <utility>

#include "platform/host/presence/application_registry.h"
#include "platform/host/store/defaults_store.h"
#include "product/store_keys.h"
#include "viewer/display_rows.h"
#include "viewer/panels.h"
#include "viewer/viewer_flag.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kStaleAfter = 10s;  // three cycles

bool isListKey(std::string_view key) {
  return key == kCPUAppUsageKey || key == kMEMAppUsageKey || key == kEnergyAppUsageKey;
}

// Why a panel has nothing to show.
std::string whyEmpty(const PanelView& view, bool hasReading, const Choices& choices,
                     bool helperRuns) {
  if (!choices.filter.empty()) return "nothing matches the filter";
  if (!hasReading && !helperRuns) return "the helper does not run";
  if (view.key == kEnergyAppUsageKey) return "no desktop application runs";
  if (view.isList) return "waiting for the first list";
  return hasReading ? "all hidden: H shows them" : "none found: see tarvel doctor";
}

}  // namespace

Model::Model(DefaultsStore& store, const ApplicationRegistry& registry)
    : store_(store), registry_(registry), lastChange_(Clock::now()) {}

bool Model::refresh(Clock::time_point now) {
  const auto figures = cost_.measure(registry_, now);
  const bool helperChanged = figures.has_value() != helperFigures_.has_value();
  helperFigures_ = figures;
  if (choices.isFrozen) return helperChanged;
  const auto token = store_.changeToken();
  if (shownToken_ == token) return helperChanged;
  shownToken_ = token;
  lastChange_ = now;
  readPanels();
  rebuild();
  remember();
  return true;
}

void Model::readPanels() {
  const auto panels = store_.get(kPanelsKey);
  views_.clear();
  readings_.clear();
  for (const auto& panel : kPanelTable) {
    if (!isPanelEnabled(panels, panel.name)) continue;
    views_.push_back({panel.name, panel.readingKey, isListKey(panel.readingKey), {}, {}});
    const auto value = store_.get(panel.readingKey);
    readings_.push_back(value ? decodeReading(panel.readingKey, *value) : std::nullopt);
  }
}

void Model::rebuild() {
  for (std::size_t i = 0; i < views_.size(); ++i) {
    auto& view = views_[i];
    const auto& reading = readings_[i];
    view.rows = reading ? displayRows(view.key, *reading, choices) : std::vector<DisplayRow>{};
    view.emptyReason =
        view.rows.empty() ? whyEmpty(view, reading.has_value(), choices, helperFigures_.has_value())
                          : std::string();
  }
}

// Everything is remembered, whatever is filtered or hidden at the moment.
void Model::remember() {
  Choices everything;
  everything.showsHidden = true;
  for (const bool isGrouped : {false, true}) {
    everything.isGrouped = isGrouped;
    for (std::size_t i = 0; i < views_.size(); ++i) {
      if (!readings_[i] || (isGrouped && !views_[i].isList)) continue;
      for (const auto& row : displayRows(views_[i].key, *readings_[i], everything)) {
        const bool isGroup = row.id.starts_with("application ");
        if (row.number && isGroup == isGrouped) histories_.add(row.id, *row.number);
      }
    }
  }
  histories_.endRefresh();
}

std::optional<std::chrono::seconds> Model::staleFor(Clock::time_point now) const {
  const auto quiet = std::chrono::duration_cast<std::chrono::seconds>(now - lastChange_);
  bool listed = false;
  for (const auto& view : views_) listed = listed || view.isList;
  const bool expected = listed || !helperFigures_;
  return expected && quiet >= kStaleAfter ? std::optional(quiet) : std::nullopt;
}

void Model::switchPanel(std::string_view panel) {
  store_.change(kPanelsKey, [&](const std::optional<PropertyList>& panels) {
    return std::optional(withPanel(panels, panel, !isPanelEnabled(panels, panel)));
  });
}

bool Model::toggleHidden(const PanelView& panel, const DisplayRow& row) {
  return setViewerFlag(store_, panel.key, row.name, row.isHidden ? "1" : "0");
}

}  // namespace tarvel::viewer
