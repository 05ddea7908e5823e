#include "programs/window/watching.h"

#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"

namespace tarvel::viewer {

Watching::Watching(DefaultsStore& store, bool startsHelper)
    : session_(kViewerIdentifier, store, startsHelper), model_(store, session_) {}

bool Watching::refresh(Clock::time_point now) {
  const bool isNew = model_.refresh(now);
  if (model_.samples() != samples_) {
    samples_ = model_.samples();
    addTotals(model_.machine());
  }
  if (now - lastOfHour_ >= kHourStep) addHour(now);
  return isNew;
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
