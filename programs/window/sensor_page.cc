#include "programs/window/sensor_page.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QRadioButton>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "product/store_keys.h"
#include "programs/window/cell_delegate.h"
#include "programs/window/figures.h"
#include "programs/window/graph.h"
#include "programs/window/watching.h"
#include "viewer/panels.h"
#include "viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

constexpr int kGraphHeight = 190;
constexpr std::array<int, 6> kWidths = {32, 16, 16, 16, 18, 30};  // characters
constexpr double kLargestThreshold = 1e6;

struct Time {
  const char* label;
  const char* name;
  std::size_t length;  // values
  bool isHour;
};
constexpr std::array<Time, 3> kTimes = {{{"&1 minute", "1 minute", 20, false},
                                         {"1&0 minutes", "10 minutes", Series::kLength, false},
                                         {"&60 minutes", "60 minutes", Series::kLength, true}}};

QString unitText(std::string_view key, bool isFahrenheit) {
  if (key == kTempValuesKey) return isFahrenheit ? " °F" : " °C";
  const auto unit = unitOf(key);
  return " " + QString::fromUtf8(unit.data(), static_cast<qsizetype>(unit.size()));
}

// A threshold to begin with: a fifth above what it is now.
double proposal(const DisplayRow& row) {
  constexpr double kAbove = 1.2;
  constexpr double kWhole = 10;
  const double value = row.number.value_or(0) * kAbove;
  return value < kWhole ? value : std::round(value);
}

}  // namespace

SensorPage::SensorPage(WindowSettings& settings, Alarms& alarms, Hooks hooks)
    : settings_(settings),
      alarms_(alarms),
      hooks_(std::move(hooks)),
      rows_(sensorColumns(), static_cast<int>(SensorColumn::kNow),
            [](const QString&) { return QIcon(); }),
      view_(new QTreeView),
      graph_(new Graph("Sensor", [](double value) { return QString::number(value, 'g', 4); })),
      times_(new QButtonGroup(this)),
      source_(new QLabel),
      notifies_(new QCheckBox("Notify &above, after 30 s")),
      threshold_(new QDoubleSpinBox) {
  buildView();
  graph_->setFixedHeight(kGraphHeight);
  auto* bottom = new QHBoxLayout;
  bottom->addWidget(graph_, 1);
  bottom->addWidget(makeDetails());
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(view_, 1);
  layout->addLayout(bottom);
}

SensorPage::~SensorPage() { view_->setModel(nullptr); }

void SensorPage::buildView() {
  setUpRows(*view_);
  view_->setModel(&rows_);
  view_->setObjectName("sensorTable");
  view_->setAccessibleName("Sensors");
  view_->setContextMenuPolicy(Qt::ActionsContextMenu);
  for (int i = 0; i < rows_.columnCount(); ++i) {
    view_->header()->resizeSection(
        i, fontMetrics().averageCharWidth() * kWidths[static_cast<std::size_t>(i)]);
  }
  QObject::connect(view_->selectionModel(), &QItemSelectionModel::currentChanged, this,
                   [this] { showSelected(); });
}

QWidget* SensorPage::makeDetails() {
  constexpr int kWidth = 30;  // characters
  auto* details = new QWidget;
  details->setFixedWidth(fontMetrics().averageCharWidth() * kWidth);
  auto* layout = new QVBoxLayout(details);
  layout->setContentsMargins(0, 0, 0, 0);
  for (std::size_t i = 0; i < kTimes.size(); ++i) {
    auto* button = new QRadioButton(kTimes[i].label);
    times_->addButton(button, static_cast<int>(i));
    layout->addWidget(button);
  }
  times_->button(1)->setChecked(true);
  QObject::connect(times_, &QButtonGroup::idClicked, this, [this] { showSelected(); });
  threshold_->setRange(-kLargestThreshold, kLargestThreshold);
  threshold_->setDecimals(1);
  threshold_->setAccessibleName("Threshold");
  threshold_->setObjectName("threshold");
  notifies_->setObjectName("notifies");
  threshold_->setKeyboardTracking(false);
  layout->addSpacing(fontMetrics().height() / 2);
  layout->addWidget(notifies_);
  layout->addWidget(threshold_);
  QObject::connect(notifies_, &QCheckBox::toggled, this, [this] { setThreshold(); });
  QObject::connect(threshold_, &QDoubleSpinBox::valueChanged, this, [this] { setThreshold(); });
  source_->setWordWrap(true);
  source_->setTextFormat(Qt::PlainText);
  source_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  layout->addWidget(source_, 1, Qt::AlignTop);
  return details;
}

QString SensorPage::selected() const {
  const TreeRow* row = rows_.row(view_->currentIndex());
  return row != nullptr && view_->currentIndex().parent().isValid() ? row->key : QString();
}

QString SensorPage::sourceOf(const PanelView& panel, const DisplayRow& row) const {
  const auto source = sources_.of(shortName(panel.name), row.sensor, row.place);
  return source ? QString::fromStdString(source->chip) : QString();
}

void SensorPage::refresh(Watching& watching) {
  watching_ = &watching;
  sources_.request();
  rebuild();
}

void SensorPage::rebuild() {
  if (watching_ == nullptr) return;
  const bool isFirst = rows_.rowCount() == 0;
  rows_.update(sensorRows(
      watching_->model(),
      {alarms_.thresholds(), [this](auto& panel, auto& row) { return sourceOf(panel, row); }}));
  if (isFirst) {
    view_->expandAll();
    for (int kind = 0; kind < rows_.rowCount(); ++kind) {
      view_->setFirstColumnSpanned(kind, {}, true);
    }
  }
  if (selected().isEmpty()) {
    for (int kind = 0; kind < rows_.rowCount(); ++kind) {
      const auto first = rows_.index(0, 0, rows_.index(kind, 0));
      if (!first.isValid()) continue;
      view_->setCurrentIndex(first);
      break;
    }
  }
  showSelected();
}

void SensorPage::showSelected() {
  if (watching_ == nullptr) return;
  const auto& model = watching_->model();
  const auto found = sensorRow(model, selected().toStdString());
  notifies_->setEnabled(static_cast<bool>(found));
  threshold_->setEnabled(notifies_->isEnabled());
  if (!found) return;
  const bool isFahrenheit = found.panel->key == kTempValuesKey && model.choices.isFahrenheit;
  const auto& thresholds = alarms_.thresholds();
  const auto threshold = thresholds.find(found.row->id);
  const bool notifies = threshold != thresholds.end();
  isShowing_ = true;
  notifies_->setChecked(notifies);
  threshold_->setEnabled(notifies);
  threshold_->setSuffix(unitText(found.panel->key, isFahrenheit));
  const double value = notifies ? threshold->second : proposal(*found.row);
  if (!threshold_->hasFocus()) threshold_->setValue(shownDegrees(value, isFahrenheit));
  isShowing_ = false;
  const auto source =
      sources_.of(shortName(found.panel->name), found.row->sensor, found.row->place);
  source_->setText(source ? QString::fromStdString(
                                source->file + (source->model.empty() ? "" : "\n") + source->model)
                          : QString());
  showHistory(*found.panel, *found.row);
}

void SensorPage::showHistory(const PanelView& panel, const DisplayRow& row) {
  const auto& time = kTimes[static_cast<std::size_t>(std::max(times_->checkedId(), 0))];
  const auto& model = watching_->model();
  const auto* series = time.isHour ? watching_->hourOf(row.id) : model.history().of(row.id);
  std::vector<double> values =
      series != nullptr ? valuesOf(*series, time.length) : std::vector<double>();
  const bool isFahrenheit = panel.key == kTempValuesKey && model.choices.isFahrenheit;
  for (double& value : values) value = shownDegrees(value, isFahrenheit);
  const auto threshold = alarms_.thresholds().find(row.id);
  graph_->setTitle(QString::fromStdString(row.name));
  graph_->setCaption(QString::fromStdString(row.value));
  graph_->setTime(time.length, time.name);
  graph_->setMark(threshold == alarms_.thresholds().end()
                      ? std::nullopt
                      : std::optional(shownDegrees(threshold->second, isFahrenheit)));
  graph_->show({{{}, std::move(values)}}, {});
}

void SensorPage::setThreshold() {
  if (isShowing_ || watching_ == nullptr) return;
  const auto found = sensorRow(watching_->model(), selected().toStdString());
  if (!found) return;
  const bool isFahrenheit =
      found.panel->key == kTempValuesKey && watching_->model().choices.isFahrenheit;
  auto thresholds = alarms_.thresholds();
  if (!notifies_->isChecked()) {
    thresholds.erase(found.row->id);
  } else if (!thresholds.contains(found.row->id)) {
    thresholds[found.row->id] = proposal(*found.row);
  } else {
    thresholds[found.row->id] = celsius(threshold_->value(), isFahrenheit);
  }
  settings_.setThresholds(thresholds);
  alarms_.setThresholds(std::move(thresholds));
  hooks_.settingsChanged();
  rebuild();
}

void SensorPage::rename() {
  if (watching_ == nullptr) return;
  const auto found = sensorRow(watching_->model(), selected().toStdString());
  if (!found) return hooks_.tell("Select a sensor first");
  const auto sensor = found.row->sensor;
  const std::string key(found.panel->key);
  const auto name =
      hooks_.askName(QString::fromStdString(sensor), QString::fromStdString(found.row->name));
  if (!name) return;
  Choices choices = settings_.shared();  // names may have been given elsewhere meanwhile
  const std::string given = name->trimmed().toStdString();
  if (given.empty() || given == sensor) {
    choices.aliases.erase({key, sensor});
  } else {
    choices.aliases[{key, sensor}] = given;
  }
  if (!settings_.share(choices)) hooks_.tell("The settings file takes no writes");
  hooks_.settingsChanged();
}

void SensorPage::toggleHidden() {
  if (watching_ == nullptr) return;
  auto& model = watching_->model();
  const auto found = sensorRow(model, selected().toStdString());
  if (!found) return hooks_.tell("Select a sensor first");
  const auto panel = static_cast<std::size_t>(found.panel - model.panels().data());
  const DisplayRow row = *found.row;
  if (!model.toggleHidden(panel, row)) return hooks_.tell("The store takes no writes");
  hooks_.tell(QString::fromStdString(row.name) +
              (row.isHidden ? " is shown again" : " is hidden: View, Show hidden sensors"));
}

void SensorPage::setContextActions(const QList<QAction*>& actions) { view_->addActions(actions); }

}  // namespace tarvel::viewer
