#include "programs/window/panel_page.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

#include "platform/host/store/defaults_store.h"
#include "programs/window/figures.h"
#include "programs/window/watching.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

QString text(std::string_view view) {
  return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

QString noteOf(const PanelView& panel) {
  if (panel.rows.empty()) return QString::fromStdString(panel.emptyReason);
  QString count = QString("%1 %2").arg(panel.rows.size()).arg(panel.isList ? "process" : "sensor");
  if (panel.rows.size() > 1) count += panel.isList ? "es" : "s";
  return panel.isStale ? count + ", old: " + QString::fromStdString(ageText(panel.age)) : count;
}

QString helperText(const Watching& watching, const std::optional<HelperCost::Figures>& helper) {
  if (!helper) {
    return watching.canStartHelper() ? "No helper is running."
                                     : "No helper is running, and none is installed beside this "
                                       "program.";
  }
  QString line = QString("Running as process %1, with %2 of memory")
                     .arg(helper->pid)
                     .arg(amountText(static_cast<double>(helper->residentKilobytes) * 1024));
  if (helper->millisecondsACycle) {
    line += QString(" and %1 ms of processor time every 3 s")
                .arg(*helper->millisecondsACycle, 0, 'f', 1);
  }
  return line + ".";
}

}  // namespace

PanelPage::PanelPage(DefaultsStore& store, Questions questions, Tell tell)
    : store_(store), questions_(std::move(questions)), tell_(std::move(tell)) {
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(makePanels());
  layout->addWidget(makeRequests());
  layout->addStretch(1);
}

QWidget* PanelPage::makePanels() {
  auto* group = new QGroupBox("Panels");
  auto* grid = new QGridLayout(group);
  auto* hint = new QLabel(
      "The helper measures the panels that are on, while somebody looks. A panel that another "
      "viewer shows stays on for it.");
  hint->setWordWrap(true);
  grid->addWidget(hint, 0, 0, 1, 2);
  for (std::size_t i = 0; i < kPanelTable.size(); ++i) {
    boxes_[i] = new QCheckBox(text(panelTitle(kPanelTable[i].name)));
    boxes_[i]->setObjectName(text(kPanelTable[i].name));
    notes_[i] = new QLabel;
    QObject::connect(boxes_[i], &QCheckBox::clicked, this,
                     [this, i](bool isOn) { toggle(i, isOn); });
    grid->addWidget(boxes_[i], static_cast<int>(i) + 1, 0);
    grid->addWidget(notes_[i], static_cast<int>(i) + 1, 1);
  }
  grid->setColumnStretch(1, 1);
  grid->setHorizontalSpacing(fontMetrics().averageCharWidth() * 4);
  return group;
}

QWidget* PanelPage::makeRequests() {
  auto* group = new QGroupBox("Helper");
  auto* grid = new QGridLayout(group);
  helper_ = new QLabel;
  helper_->setWordWrap(true);
  grid->addWidget(helper_, 0, 0, 1, 2);
  auto add = [&, row = 1](const QString& label, const char* meaning, auto act) mutable {
    auto* button = new QPushButton(label);
    QObject::connect(button, &QPushButton::clicked, this, act);
    grid->addWidget(button, row, 0);
    grid->addWidget(new QLabel(meaning), row++, 1);
  };
  add("Check for &updates", "A notification tells the outcome.", [this] {
    request(kCheckHelperUpdatesKey, "The helper checks for updates. A notification will tell.");
  });
  add("&Forget sensors…", "Names and hidden sensors are cleared when the helper starts next.",
      [this] {
        if (!questions_.confirm("Forget sensors",
                                "Forget all sensors, and which of them are hidden, when the helper "
                                "starts next?",
                                "&Forget")) {
          return;
        }
        request(kClearSensorsKey, "The helper forgets its sensors when it starts next.");
      });
  add("&Remove helper…", "Asks for a password. Without it nothing is measured any more.", [this] {
    if (!questions_.confirm("Remove helper", "Remove the helper and its bundle from this machine?",
                            "&Remove")) {
      return;
    }
    request(kUninstallHelperKey, "The helper was asked to remove itself.");
  });
  grid->setColumnStretch(1, 1);
  return group;
}

void PanelPage::request(std::string_view key, const QString& told) {
  tell_(store_.set(key, true) ? told : "The store takes no writes");
}

void PanelPage::toggle(std::size_t panel, bool isOn) {
  if (watching_ == nullptr) return;
  auto& model = watching_->model();
  if (model.panels()[panel].isShown() != isOn) model.togglePanel(panel);
}

void PanelPage::refresh(Watching& watching) {
  watching_ = &watching;
  const auto& model = watching.model();
  for (std::size_t i = 0; i < kPanelTable.size(); ++i) {
    const auto& panel = model.panels()[i];
    boxes_[i]->setChecked(panel.isShown());
    notes_[i]->setText(noteOf(panel));
  }
  helper_->setText(helperText(watching, model.helper()));
}

}  // namespace tarvel::viewer
