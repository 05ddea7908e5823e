#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "programs/window/row_tree.h"
#include "viewer/readings.h"

// The three lists of the busiest processes as one table. Pure.

namespace tarvel::viewer {

struct Process {
  std::int32_t pid = 0;
  QString name;
  QString application;  // its identifier; empty for what belongs to none
  QString user;
  QString command;
  // None where the process is not in the list that has the figure.
  std::optional<double> processor;   // percent of one core
  std::optional<double> memory;      // bytes
  std::optional<double> compressed;  // bytes
  std::optional<double> energy;      // as docs/energy.md has it
};

// What is known of a process beyond the lists.
struct ProcessIdentity {
  QString name;
  QString user;
  QString command;
  std::uint64_t startTime = 0;  // clock ticks since boot; 0: it is not there any more
};
using IdentityOf = std::function<ProcessIdentity(const ProcessRow& row)>;

// One entry for each process of the lists, in the order in which they come first. Null pointers
// stand for lists that are not there.
std::vector<Process> joinedProcesses(const std::vector<const std::vector<ProcessRow>*>& lists,
                                     const IdentityOf& identityOf);

enum class ProcessColumn {
  kName,
  kPid,
  kUser,
  kProcessor,
  kMemory,
  kCompressed,
  kEnergy,
  kCommand
};
std::vector<RowTree::Column> processColumns();

struct ProcessChoices {
  ProcessColumn column = ProcessColumn::kProcessor;
  bool isDescending = true;
  bool isGrouped = false;  // the processes of an application below one row with their sums
  QString filter;          // part of a name, an application, a user, a command line; or a whole pid
};

// The name of an application, by its identifier.
using NameOf = std::function<QString(const QString& application)>;

// The rows of processes have keys such as "301", those of applications "application org.a.B".
std::vector<TreeRow> processRows(std::vector<Process> processes, const ProcessChoices& choices,
                                 const NameOf& nameOf);

// The process of such a key; 0 for an application.
std::int32_t pidOfKey(const QString& key);

}  // namespace tarvel::viewer
