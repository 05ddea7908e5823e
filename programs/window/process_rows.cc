#include "programs/window/process_rows.h"

#include <algorithm>
#include <map>
#include <utility>

#include "viewer/machine/amounts.h"

namespace tarvel::viewer {
namespace {

constexpr double kWarmPercent = 70;  // of a core
constexpr double kHotPercent = 90;

void take(std::optional<double>& figure, const ProcessRow& row, std::string_view tag) {
  if (const auto number = numberOf(column(row, tag))) figure = number;
}

// What is summed up or shown is absent only where all of it is absent.
void add(std::optional<double>& sum, const std::optional<double>& figure) {
  if (figure) sum = sum.value_or(0) + *figure;
}

std::optional<double> figureOf(const Process& process, ProcessColumn column) {
  switch (column) {
    case ProcessColumn::kProcessor:
      return process.processor;
    case ProcessColumn::kMemory:
      return process.memory;
    case ProcessColumn::kCompressed:
      return process.compressed;
    case ProcessColumn::kEnergy:
      return process.energy;
    default:
      return process.pid;
  }
}

QString textOf(const Process& process, ProcessColumn column) {
  switch (column) {
    case ProcessColumn::kUser:
      return process.user;
    case ProcessColumn::kCommand:
      return process.command;
    default:
      return process.name;
  }
}

bool isText(ProcessColumn column) {
  return column == ProcessColumn::kName || column == ProcessColumn::kUser ||
         column == ProcessColumn::kCommand;
}

int compared(const Process& a, const Process& b, ProcessColumn column) {
  if (isText(column)) return textOf(a, column).compare(textOf(b, column), Qt::CaseInsensitive);
  constexpr double kAbsent = -1;  // figures are not negative
  const double left = figureOf(a, column).value_or(kAbsent);
  const double right = figureOf(b, column).value_or(kAbsent);
  return left < right ? -1 : static_cast<int>(left > right);
}

// A row that has nothing to be ordered by comes last, whichever way is up.
bool isBlank(const Process& process, ProcessColumn column) {
  return isText(column) ? textOf(process, column).isEmpty() : !figureOf(process, column);
}

bool comesBefore(const Process& a, const Process& b, const ProcessChoices& choices) {
  const bool isBlankA = isBlank(a, choices.column);
  const bool isBlankB = isBlank(b, choices.column);
  if (isBlankA != isBlankB) return isBlankB;
  const int order = compared(a, b, choices.column);
  if (order != 0) return choices.isDescending ? order > 0 : order < 0;
  return a.pid < b.pid;
}

bool matches(const Process& process, const QString& wanted, const NameOf& nameOf) {
  if (wanted.isEmpty()) return true;
  for (const QString* text :
       {&process.name, &process.application, &process.user, &process.command}) {
    if (text->contains(wanted, Qt::CaseInsensitive)) return true;
  }
  if (QString::number(process.pid) == wanted) return true;
  return !process.application.isEmpty() &&
         nameOf(process.application).contains(wanted, Qt::CaseInsensitive);
}

QString percentText(const std::optional<double>& figure) {
  return figure ? QString::number(*figure, 'f', 1) + " %" : QString();
}

QString amountText(const std::optional<double>& figure) {
  return figure ? QString::fromStdString(bytesText(*figure)) : QString();
}

TreeRow rowOf(const Process& process) {
  TreeRow row;
  row.key = QString::number(process.pid);
  row.cells = {process.name,
               row.key,
               process.user,
               percentText(process.processor),
               amountText(process.memory),
               amountText(process.compressed),
               process.energy ? QString::number(*process.energy, 'f', 1) : QString(),
               process.command};
  row.icon = process.application.isEmpty() ? QString("-") : process.application;
  row.toolTip = process.command.isEmpty() ? process.name : process.command;
  const double load = process.processor.value_or(0);
  row.level = load >= kHotPercent    ? Level::kHot
              : load >= kWarmPercent ? Level::kWarm
                                     : Level::kNormal;
  return row;
}

struct Group {
  Process sum;
  std::vector<Process> members;
};

std::vector<Group> grouped(std::vector<Process>& processes, const NameOf& nameOf) {
  std::vector<Group> groups;
  std::map<QString, std::size_t> places;
  for (auto& process : processes) {
    const auto application = process.application;
    const auto [place, isNew] = places.emplace(application, groups.size());
    if (isNew || application.isEmpty()) {
      groups.push_back({process, {}});
      groups.back().members.push_back(std::move(process));
      continue;
    }
    auto& [sum, members] = groups[place->second];
    add(sum.processor, process.processor);
    add(sum.memory, process.memory);
    add(sum.compressed, process.compressed);
    add(sum.energy, process.energy);
    if (sum.user != process.user) sum.user.clear();
    sum.name = nameOf(application);
    members.push_back(std::move(process));
  }
  return groups;
}

TreeRow rowOf(Group group, const ProcessChoices& choices) {
  TreeRow row = rowOf(group.sum);
  auto& members = group.members;
  if (members.size() < 2) return row;
  std::sort(members.begin(), members.end(),
            [&](const auto& a, const auto& b) { return comesBefore(a, b, choices); });
  row.key = "application " + group.sum.application;
  const auto column = [](ProcessColumn each) { return static_cast<qsizetype>(each); };
  row.cells[column(ProcessColumn::kPid)].clear();
  row.cells[column(ProcessColumn::kCommand)] = QString("%1 processes").arg(members.size());
  row.toolTip = group.sum.application;
  for (const auto& member : members) row.children.push_back(rowOf(member));
  return row;
}

}  // namespace

std::vector<Process> joinedProcesses(const std::vector<const std::vector<ProcessRow>*>& lists,
                                     const IdentityOf& identityOf) {
  std::vector<Process> processes;
  std::map<std::int32_t, std::size_t> places;
  for (const auto* list : lists) {
    if (list == nullptr) continue;
    for (const auto& row : *list) {
      const auto [place, isNew] = places.emplace(row.pid, processes.size());
      if (isNew) {
        auto identity = identityOf(row);
        processes.push_back({row.pid,
                             std::move(identity.name),
                             QString::fromStdString(applicationOf(row)),
                             std::move(identity.user),
                             std::move(identity.command),
                             {},
                             {},
                             {},
                             {}});
      }
      Process& process = processes[place->second];
      take(process.processor, row, "cpu");
      take(process.memory, row, "mem");
      take(process.compressed, row, "cmprs");
      take(process.energy, row, "power");
    }
  }
  return processes;
}

std::vector<RowTree::Column> processColumns() {
  return {{"Name"},         {"PID", true},        {"User"},         {"Processor", true},
          {"Memory", true}, {"Compressed", true}, {"Energy", true}, {"Command line"}};
}

std::vector<TreeRow> processRows(std::vector<Process> processes, const ProcessChoices& choices,
                                 const NameOf& nameOf) {
  const QString wanted = choices.filter.trimmed();
  std::erase_if(processes,
                [&](const Process& process) { return !matches(process, wanted, nameOf); });
  std::vector<Group> groups;
  if (choices.isGrouped) {
    groups = grouped(processes, nameOf);
  } else {
    for (auto& process : processes) groups.push_back({std::move(process), {}});
  }
  std::sort(groups.begin(), groups.end(),
            [&](const Group& a, const Group& b) { return comesBefore(a.sum, b.sum, choices); });
  std::vector<TreeRow> rows;
  rows.reserve(groups.size());
  for (auto& group : groups) rows.push_back(rowOf(std::move(group), choices));
  return rows;
}

std::int32_t pidOfKey(const QString& key) { return key.toInt(); }

}  // namespace tarvel::viewer
