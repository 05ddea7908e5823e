#include "programs/window/overview_page.h"

#include <QGridLayout>
#include <QLabel>
#include <algorithm>
#include <map>
#include <utility>

#include "product/store_keys.h"
#include "programs/window/core_bars.h"
#include "programs/window/figures.h"
#include "programs/window/graph.h"
#include "programs/window/ranked_list.h"
#include "programs/window/watching.h"

namespace tarvel::viewer {
namespace {

constexpr std::size_t kMostItems = 12;

QString shareText(double share) { return percentText(share); }
QString pressureText(double percent) { return percentText(percent / 100); }

const PanelView& panelOf(const Model& model, std::string_view key) {
  const auto& panels = model.panels();
  return *std::find_if(panels.begin(), panels.end(),
                       [&](const PanelView& panel) { return panel.key == key; });
}

QString whyEmpty(const PanelView& panel) {
  return panel.isStale ? "old readings: waiting for the helper"
                       : QString::fromStdString(panel.emptyReason);
}

void showRates(Graph& graph, std::vector<Graph::Line> lines) {
  const Scale scale = scaleOfBytes(lines);
  graph.show(std::move(lines), scale);
}

double highest(const DisplayRow& row) { return row.number.value_or(0); }

// Of what has no range: of the highest that was seen.
double shareOfHighest(const Model& model, const DisplayRow& row) {
  const auto* series = model.history().of(row.id);
  const double most = series != nullptr ? series->maximum() : 0;
  return most > 0 ? std::clamp(row.number.value_or(0) / most, 0.0, 1.0) : 0;
}

}  // namespace

OverviewPage::OverviewPage(ApplicationIcons& icons)
    : icons_(icons),
      state_(new QLabel),
      processor_(new Graph("Processor", shareText)),
      cores_(new CoreBars),
      memory_(new Graph("Memory", shareText)),
      disks_(new Graph("Disks", rateText)),
      networks_(new Graph("Networks", rateText)),
      pressure_(new Graph("Pressure", pressureText)),
      applications_(new RankedList("Energy of applications")),
      hottest_(new RankedList("Hottest")),
      fans_(new RankedList("Fans")) {
  state_->setTextFormat(Qt::PlainText);
  pressure_->setToolTip("Share of the last ten seconds in which some task waited");
  lay();
}

void OverviewPage::lay() {
  auto* grid = new QGridLayout(this);
  QWidget* const rows[][3] = {{processor_, cores_, memory_},
                              {disks_, networks_, pressure_},
                              {applications_, hottest_, fans_}};
  int row = 0;
  for (const auto& line : rows) {
    int column = 0;
    for (QWidget* widget : line) grid->addWidget(widget, row, column++);
    grid->setRowStretch(row++, 1);
  }
  for (int column = 0; column < 3; ++column) grid->setColumnStretch(column, 1);
  grid->addWidget(state_, row, 0, 1, 3);
}

void OverviewPage::refresh(Watching& watching) {
  icons_.beginRefresh();
  const auto& model = watching.model();
  if (samples_ != model.samples()) {
    samples_ = model.samples();
    showTotals(watching);
  }
  showApplications(model);
  showSensors(model);
}

void OverviewPage::showTotals(Watching& watching) {
  const auto& model = watching.model();
  const auto& now = model.machine();
  const auto& history = watching.totals();
  state_->setText(stateText(now));
  if (now.processors) {
    processor_->setCaption(percentText(now.processors->busy) +
                           (now.load ? "   " + loadText(*now.load) : QString()));
    processor_->show({{{}, valuesOf(model.processorHistory())}}, {0, 1});
    cores_->show(now.processors->cores);
  }
  showMemory(model);
  if (now.disks) {
    disks_->setCaption(rateText(now.disks->in) + " read, " + rateText(now.disks->out) + " written");
    showRates(*disks_,
              {{"read", valuesOf(history.diskRead)}, {"written", valuesOf(history.diskWritten)}});
  }
  if (now.networks) {
    networks_->setCaption(rateText(now.networks->in) + " in, " + rateText(now.networks->out) +
                          " out");
    showRates(*networks_, {{"in", valuesOf(history.received)}, {"out", valuesOf(history.sent)}});
  }
  if (now.pressure) {
    pressure_->setCaption(pressureText(
        std::max({now.pressure->processor, now.pressure->memory, now.pressure->disk})));
    pressure_->show({{"processor", valuesOf(history.processorPressure)},
                     {"memory", valuesOf(history.memoryPressure)},
                     {"disk", valuesOf(history.diskPressure)}},
                    {0, 100});
  } else {
    pressure_->setCaption("this kernel does not tell");
  }
}

void OverviewPage::showMemory(const Model& model) {
  const auto& memory = model.machine().memory;
  if (!memory) return;
  const auto amount = [](std::uint64_t bytes) { return amountText(static_cast<double>(bytes)); };
  QString caption = amount(memory->used) + " of " + amount(memory->total);
  if (memory->swapTotal > 0) caption += ", swap " + amount(memory->swapUsed);
  memory_->setCaption(caption);
  memory_->show({{{}, valuesOf(model.memoryHistory())}}, {0, 1});
}

// The processes of an application count together.
void OverviewPage::showApplications(const Model& model) {
  const auto& panel = panelOf(model, kEnergyAppUsageKey);
  std::map<std::string, double> energies;
  if (!panel.isStale) {
    for (const auto& row : panel.rows) {
      if (row.isApplication) energies[row.note] += row.number.value_or(0);
    }
  }
  std::vector<std::pair<double, std::string>> ranked;
  for (const auto& [application, energy] : energies) ranked.emplace_back(energy, application);
  std::sort(ranked.rbegin(), ranked.rend());
  std::vector<RankedList::Item> items;
  for (const auto& [energy, application] : ranked) {
    if (items.size() == kMostItems) break;
    const auto name = QString::fromStdString(application);
    const double most = ranked.front().first;
    items.push_back({icons_.of(name), icons_.nameOf(name), QString::number(energy, 'f', 1),
                     most > 0 ? energy / most : 0, Level::kNormal});
  }
  applications_->show(std::move(items), panel.rows.empty() || panel.isStale
                                            ? whyEmpty(panel)
                                            : "no desktop application is running");
}

void OverviewPage::showSensors(const Model& model) {
  for (const auto& [key, list] :
       {std::pair(kTempValuesKey, hottest_), {kFanSpeedValuesKey, fans_}}) {
    const auto& panel = panelOf(model, key);
    std::vector<DisplayRow> rows;
    if (!panel.isStale) rows = panel.rows;
    std::stable_sort(rows.begin(), rows.end(), [](const DisplayRow& a, const DisplayRow& b) {
      return highest(a) > highest(b);
    });
    if (rows.size() > kMostItems) rows.resize(kMostItems);
    std::vector<RankedList::Item> items;
    for (auto& row : rows) {
      if (row.share == 0) row.share = shareOfHighest(model, row);
      items.push_back({{},
                       QString::fromStdString(row.name),
                       QString::fromStdString(row.value),
                       row.share,
                       row.level});
    }
    list->show(std::move(items), whyEmpty(panel));
  }
}

}  // namespace tarvel::viewer
