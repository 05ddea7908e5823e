#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>

#include "viewer/process_target.h"

class QWidget;

// What can be done to a process: a question first, and what was asked about is what it is done to.

namespace tarvel::viewer {

// The dialogs, which tests answer by themselves.
struct Questions {
  // Whether to go on with what the text says; the button is named for what it does.
  std::function<bool(const QString& title, const QString& text, const QString& button)> confirm;
  // A priority from -20 to 19; none when it was left.
  std::function<std::optional<int>(const QString& title, const QString& text, int now)> nice;
};
Questions questionsOver(QWidget* parent);

struct ProcessSignal {
  int signal;
  const char* name;    // "SIGTERM"
  const char* action;  // of the menu, with its mnemonic
  const char* question;
};
inline constexpr std::size_t kProcessSignalCount = 6;
extern const std::array<ProcessSignal, kProcessSignalCount> kProcessSignals;

// The process of a row, as it was when the row was made.
struct ChosenProcess {
  std::int32_t pid = 0;
  QString name;
  std::uint64_t startTime = 0;  // clock ticks since boot; 0: unknown
};

// Each returns what to tell the user; empty where the question was declined. The process is opened
// before the question, and where the number has gone to another process since, it counts as ended.
QString askAndSignal(const ChosenProcess& process, const ProcessSignal& signal,
                     const Questions& questions);
QString askAndRenice(const ChosenProcess& process, const Questions& questions);

}  // namespace tarvel::viewer
