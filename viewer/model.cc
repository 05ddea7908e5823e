#include "viewer/model.h"

#include <algorithm>
#include <utility>

#include "product/identifiers.h"
#include "viewer/panels.h"
#include "viewer/viewer_flag.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenLooks = 1s;
constexpr auto kFirstInterval = 250ms;  // the first shares of the processors come this soon

bool isListKey(std::string_view key) {
  return key == kCPUAppUsageKey || key == kMEMAppUsageKey || key == kEnergyAppUsageKey;
}

}  // namespace

Model::Model(DefaultsStore& store, ViewerSession& session)
    : store_(store), session_(session), times_(kSuiteName) {
  for (std::size_t i = 0; i < views_.size(); ++i) {
    views_[i].name = kPanelTable[i].name;
    views_[i].key = kPanelTable[i].readingKey;
    views_[i].isList = isListKey(views_[i].key);
  }
}

bool Model::refresh(Clock::time_point now) {
  const bool helperChanged = lookAtHelper(now);
  const bool sampled = sampleMachine(now);
  if (choices.isFrozen) return helperChanged || sampled;
  const auto token = store_.changeToken();
  const bool changed = shownToken_ != token;
  if (changed) {
    shownToken_ = token;
    readPanels();
  }
  const auto published = updateAges();
  if (changed || helperChanged) rebuild();
  if (changed && published.any()) remember(published);
  return changed || helperChanged || sampled;
}

// A look costs some thirty system calls: once a second is soon enough to notice that it has gone.
bool Model::lookAtHelper(Clock::time_point now) {
  if (lastLook_ && now - *lastLook_ < kBetweenLooks) return false;
  lastLook_ = now;
  session_.keepHelper(now);
  const auto figures = cost_.measure(session_.registry(), now);
  const bool changed = figures.has_value() != helperFigures_.has_value();
  helperFigures_ = figures;
  return changed;
}

bool Model::sampleMachine(Clock::time_point now) {
  const auto due =
      totals_.processors ? interval : std::min<std::chrono::milliseconds>(interval, kFirstInterval);
  if (lastSample_ && now - *lastSample_ < due) return false;
  lastSample_ = now;
  totals_ = machineReader_.sample(now, {});
  ++samples_;
  if (totals_.processors) processorHistory_.add(totals_.processors->busy);
  if (const auto& memory = totals_.memory) {
    memoryHistory_.add(static_cast<double>(memory->used) / static_cast<double>(memory->total));
  }
  return true;
}

void Model::readPanels() {
  const auto panels = store_.get(kPanelsKey);
  for (std::size_t i = 0; i < views_.size(); ++i) {
    auto& view = views_[i];
    view.isOn = isPanelEnabled(panels, view.name);
    const auto value = view.isShown() ? store_.get(view.key) : std::nullopt;
    readings_[i] = value ? decodeReading(view.key, *value) : std::nullopt;
  }
}

// Which panels have a reading that was published since the last call.
Model::Which Model::updateAges() {
  Which published;
  const auto ages = times_.ages();
  for (std::size_t i = 0; i < views_.size(); ++i) {
    auto& view = views_[i];
    const auto before = std::exchange(view.age, view.isShown() ? ages[i] : std::nullopt);
    published[i] = view.age && (!before || *view.age < *before);
    view.isStale = !view.rows.empty() && isStale(view.age);
  }
  return published;
}

void Model::rebuild() {
  ++rebuilds_;
  const FactsOf factsOf = [this](std::int32_t pid) { return facts_.of(pid); };
  for (std::size_t i = 0; i < views_.size(); ++i) {
    auto& view = views_[i];
    const auto& reading = readings_[i];
    view.rows.clear();
    if (reading && view.isShown()) view.rows = displayRows(view.key, *reading, choices, factsOf);
    view.isStale = !view.rows.empty() && isStale(view.age);
    view.emptyReason = view.rows.empty() ? whyEmpty(view, reading.has_value()) : std::string();
  }
  facts_.endRefresh();
}

std::string Model::whyEmpty(const PanelView& view, bool hasReading) const {
  if (view.isHidden) return "hidden";
  if (!view.isOn) return "off";
  if (!choices.filter.empty() && hasReading) return "nothing matches the filter";
  if (!hasReading && !helperFigures_) return "no readings yet: the helper is not running";
  if (view.key == kEnergyAppUsageKey) return "no desktop application is running";
  if (view.isList) return "waiting for the first list";
  return hasReading ? "all hidden (H shows them)" : "no sensors found (see tarvel doctor)";
}

// Everything is remembered, whatever is filtered or hidden at the moment: one value a publication.
void Model::remember(Which published) {
  const FactsOf nothing = [](std::int32_t) -> const ProcessFacts* { return nullptr; };
  Choices everything;
  everything.showsHidden = true;
  for (const bool isGrouped : {false, true}) {
    everything.isGrouped = isGrouped;
    for (std::size_t i = 0; i < views_.size(); ++i) {
      if (!published[i] || !readings_[i] || (isGrouped && !views_[i].isList)) continue;
      for (const auto& row : displayRows(views_[i].key, *readings_[i], everything, nothing)) {
        const bool isGroup = row.id.starts_with("application ");
        if (row.number && isGroup == isGrouped) histories_.add(row.id, *row.number);
      }
    }
  }
  histories_.endRefresh();
}

void Model::togglePanel(std::size_t panel) {
  auto& view = views_[panel];
  const bool show = !view.isShown();
  view.isHidden = !show;
  if (show ? !view.isOn : session_.isAlone()) {
    store_.change(kPanelsKey, [&](const std::optional<PropertyList>& panels) {
      return std::optional(withPanel(panels, view.name, show));
    });
    if (!show) view.isHidden = false;  // off everywhere, by anybody's choice
  }
  shownToken_.reset();
}

bool Model::toggleHidden(std::size_t panel, const DisplayRow& row) {
  shownToken_.reset();
  return setViewerFlag(store_, views_[panel].key, row.sensor, row.place, row.isHidden ? "1" : "0");
}

}  // namespace tarvel::viewer
