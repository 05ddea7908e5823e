#include "programs/window/watching.h"

#include <utility>

#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"

namespace tarvel::viewer {

Watching::Watching(DefaultsStore& store, bool startsHelper)
    : session_(kViewerIdentifier, store, startsHelper), model_(store, session_) {}

Watching::News Watching::refresh(Clock::time_point now) {
  model_.refresh(now);
  const auto stale = stalePanels();
  const bool isOlder = std::exchange(stale_, stale) != stale;
  const bool isRebuilt = std::exchange(rebuilds_, model_.rebuilds()) != model_.rebuilds();
  const bool isSampled = std::exchange(samples_, model_.samples()) != model_.samples();
  const News news{isRebuilt || isOlder, isSampled};
  if (news.totals) addTotals(model_.machine());
  if (now - lastOfHour_ >= kHourStep) addHour(now);
  return news;
}

std::bitset<kPanelTable.size()> Watching::stalePanels() const {
  std::bitset<kPanelTable.size()> stale;
  for (std::size_t i = 0; i < stale.size(); ++i) stale[i] = model_.panels()[i].isStale;
  return stale;
}

void Watching::addTotals(const MachineTotals& now) {
  if (now.disks) {
    totals_.diskRead.add(now.disks->in);
    totals_.diskWritten.add(now.disks->out);
  }
  if (now.networks) {
    totals_.received.add(now.networks->in);
    totals_.sent.add(now.networks->out);
  }
  if (now.pressure) {
    totals_.processorPressure.add(now.pressure->processor);
    totals_.memoryPressure.add(now.pressure->memory);
    totals_.diskPressure.add(now.pressure->disk);
  }
}

void Watching::addHour(Clock::time_point now) {
  lastOfHour_ = now;
  for (const auto& panel : model_.panels()) {
    if (panel.isList || panel.isStale) continue;
    for (const auto& row : panel.rows) {
      if (row.number) hour_.add(row.id, *row.number);
    }
  }
  hour_.endRefresh();
}

}  // namespace tarvel::viewer
