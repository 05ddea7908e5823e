#include "programs/window/process_page.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTreeView>
#include <QVBoxLayout>
#include <utility>

#include "product/store_keys.h"
#include "programs/window/cell_delegate.h"
#include "programs/window/colours.h"
#include "programs/window/graph.h"
#include "programs/window/watching.h"
#include "text/printable_text.h"
#include "viewer/machine/amounts.h"

namespace tarvel::viewer {
namespace {

constexpr std::size_t kKernelNameLength = 15;  // TASK_COMM_LEN less its NUL
constexpr int kGraphHeight = 150;
constexpr std::size_t kProcessorPanel = 0;  // in the panel table
constexpr std::size_t kListCount = 3;

QString trimmed(const std::string& text) {
  return QString::fromStdString(printableText(text)).trimmed();
}

// Widths in characters; those of figures are as wide as their heads with the arrow of the order.
int widthOf(ProcessColumn column) {
  switch (column) {
    case ProcessColumn::kName:
      return 28;
    case ProcessColumn::kPid:
    case ProcessColumn::kUser:
      return 12;
    case ProcessColumn::kCompressed:
      return 19;
    default:
      return 16;
  }
}

}  // namespace

ProcessPage::ProcessPage(ApplicationIcons& icons, Questions questions, Tell tell)
    : icons_(icons),
      questions_(std::move(questions)),
      tell_(std::move(tell)),
      rows_(processColumns(), static_cast<int>(ProcessColumn::kProcessor),
            [this](const QString& application) { return icons_.of(application); }),
      view_(new QTreeView),
      search_(new QLineEdit),
      note_(new QLabel),
      processorGraph_(new Graph(
          "Processor", [](double value) { return QString("%1 %").arg(value, 0, 'f', 0); })),
      memoryGraph_(new Graph(
          "Memory", [](double value) { return QString::fromStdString(bytesText(value)); })) {
  buildView();
  search_->setPlaceholderText("Search names, users and command lines");
  search_->setAccessibleName("Search processes");
  search_->setObjectName("search");
  search_->setClearButtonEnabled(true);
  colourSearch();
  QObject::connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) {
    choices_.filter = text;
    rebuild();
  });
  auto* head = new QHBoxLayout;
  head->addWidget(search_, 1);
  head->addWidget(note_);
  auto* graphs = new QHBoxLayout;
  graphs->addWidget(processorGraph_);
  graphs->addWidget(memoryGraph_);
  for (auto* graph : {processorGraph_, memoryGraph_}) graph->setFixedHeight(kGraphHeight);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(head);
  layout->addWidget(view_, 1);
  layout->addLayout(graphs);
}

ProcessPage::~ProcessPage() { view_->setModel(nullptr); }

void ProcessPage::buildView() {
  setUpRows(*view_);
  view_->setModel(&rows_);
  view_->setObjectName("processTable");
  view_->setAccessibleName("Processes");
  view_->setRootIsDecorated(false);
  view_->setSortingEnabled(true);
  view_->setContextMenuPolicy(Qt::ActionsContextMenu);
  auto* header = view_->header();
  header->setSortIndicator(static_cast<int>(choices_.column), Qt::DescendingOrder);
  header->setStretchLastSection(true);
  for (int i = 0; i < rows_.columnCount(); ++i) {
    header->resizeSection(
        i, fontMetrics().averageCharWidth() * widthOf(static_cast<ProcessColumn>(i)));
  }
  rows_.whenSorted([this](int column, Qt::SortOrder order) {
    choices_.column = static_cast<ProcessColumn>(column);
    choices_.isDescending = order == Qt::DescendingOrder;
    rebuild();
  });
  QObject::connect(view_->selectionModel(), &QItemSelectionModel::currentChanged, this,
                   [this] { showHistory(); });
}

void ProcessPage::colourSearch() {
  QPalette own = palette();
  own.setColor(QPalette::PlaceholderText, faintColour(own));
  search_->setPalette(own);
}

void ProcessPage::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) colourSearch();
  Page::changeEvent(event);
}

void ProcessPage::setGrouped(bool isGrouped) {
  choices_.isGrouped = isGrouped;
  view_->setRootIsDecorated(isGrouped);
  rebuild();
}

void ProcessPage::search() {
  search_->setFocus();
  search_->selectAll();
}

// Read once in the life of a process, and again where it runs another program.
ProcessIdentity ProcessPage::identityOf(const ProcessRow& row) {
  Known& known = known_[row.pid];
  known.refresh = refresh_;
  if (known.listedName == row.name && known.identity.startTime != 0) return known.identity;
  known.listedName = row.name;
  auto& identity = known.identity;
  identity = {trimmed(row.name), trimmed(std::string(column(row, "user"))), {}, 0};
  if (const auto* facts = watching_->model().facts(row.pid)) {
    const auto name = QString::fromStdString(facts->program);
    const bool isCut = row.name.find_last_not_of(' ') + 1 >= kKernelNameLength;
    if (isCut && name.startsWith(identity.name)) identity.name = name;
    identity.user = QString::fromStdString(facts->user);
    identity.command = QString::fromStdString(facts->command);
    identity.startTime = facts->startTime;
  }
  return identity;
}

void ProcessPage::refresh(Watching& watching) {
  watching_ = &watching;
  icons_.beginRefresh();
  rebuild();
}

void ProcessPage::rebuild() {
  if (watching_ == nullptr) return;
  ++refresh_;
  std::vector<const std::vector<ProcessRow>*> lists;
  bool isStale = false;
  for (std::size_t i = kProcessorPanel; i < kProcessorPanel + kListCount; ++i) {
    const auto& reading = watching_->model().reading(i);
    lists.push_back(reading ? std::get_if<std::vector<ProcessRow>>(&*reading) : nullptr);
    isStale = isStale || watching_->model().panels()[i].isStale;
  }
  auto processes = joinedProcesses(lists, [this](const auto& row) { return identityOf(row); });
  std::erase_if(known_, [this](const auto& entry) { return entry.second.refresh != refresh_; });
  const auto count = processes.size();
  auto rows = processRows(std::move(processes), choices_,
                          [this](const auto& application) { return icons_.nameOf(application); });
  if (isStale) {
    for (auto& row : rows) row.isDim = true;
  }
  rows_.update(std::move(rows));
  const auto& first = watching_->model().panels()[kProcessorPanel];
  note_->setText(count == 0 ? QString::fromStdString(first.emptyReason)
                 : isStale  ? "Old readings: waiting for the helper"
                            : QString("The %1 busiest processes").arg(count));
  if (!view_->currentIndex().isValid() && rows_.rowCount() > 0) {
    view_->setCurrentIndex(rows_.index(0, 0));
  }
  showHistory();
}

void ProcessPage::showHistory() {
  const TreeRow* row = rows_.row(view_->currentIndex());
  if (watching_ == nullptr || row == nullptr) return;
  const bool isApplication = pidOfKey(row->key) == 0;
  const auto lineOf = [&](std::string_view list) {
    const std::string id = isApplication ? row->key.toStdString() + " " + std::string(list)
                                         : std::string(list) + " " + row->key.toStdString();
    const auto* series = watching_->model().history().of(id);
    return std::vector<Graph::Line>{
        {{}, series != nullptr ? valuesOf(*series) : std::vector<double>()}};
  };
  const auto cell = [&](ProcessColumn column) {
    return row->cells.value(static_cast<qsizetype>(column));
  };
  const QString name = cell(ProcessColumn::kName);
  processorGraph_->setTitle(name + ": processor");
  processorGraph_->setCaption(cell(ProcessColumn::kProcessor));
  processorGraph_->show(lineOf(kCPUAppUsageKey), {});
  memoryGraph_->setTitle(name + ": memory");
  memoryGraph_->setCaption(cell(ProcessColumn::kMemory));
  auto memory = lineOf(kMEMAppUsageKey);
  const Scale scale = scaleOfBytes(memory);
  memoryGraph_->show(std::move(memory), scale);
}

ChosenProcess ProcessPage::chosen() const {
  const TreeRow* row = rows_.row(view_->currentIndex());
  if (row == nullptr) return {};
  const auto pid = pidOfKey(row->key);
  const auto known = known_.find(pid);
  return {pid, row->cells.value(0), known != known_.end() ? known->second.identity.startTime : 0};
}

void ProcessPage::signal(const ProcessSignal& signal) {
  const auto process = chosen();
  tell_(process.pid > 0 ? askAndSignal(process, signal, questions_) : "Select a process first");
}

void ProcessPage::renice() {
  const auto process = chosen();
  tell_(process.pid > 0 ? askAndRenice(process, questions_) : "Select a process first");
}

void ProcessPage::setContextActions(const QList<QAction*>& actions) { view_->addActions(actions); }

}  // namespace tarvel::viewer
