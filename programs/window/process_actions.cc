#include "programs/window/process_actions.h"

#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <csignal>

#include "viewer/process_facts.h"

namespace tarvel::viewer {

const std::array<ProcessSignal, kProcessSignalCount> kProcessSignals = {{
    {SIGTERM, "SIGTERM", "&End…", "End %1? It is asked to end and may save its work."},
    {SIGKILL, "SIGKILL", "&Kill…", "Kill %1? What it has not saved is lost."},
    {SIGSTOP, "SIGSTOP", "&Pause…", "Pause %1? It stands still until it is continued."},
    {SIGCONT, "SIGCONT", "&Continue…", "Continue %1?"},
    {SIGHUP, "SIGHUP", "&Hang up…", "Hang up on %1? Daemons read their settings anew, others end."},
    {SIGINT, "SIGINT", "&Interrupt…", "Interrupt %1, as Ctrl+C does on a terminal?"},
}};

namespace {

QString titled(const ChosenProcess& process) {
  return QString("%1 (process %2)").arg(process.name).arg(process.pid);
}

struct Opened {
  std::optional<ProcessTarget> target;  // none: it has ended
  int nice = 0;
};

// Opened first and looked at then: what the look sees is what is open.
Opened opened(const ChosenProcess& process) {
  Opened result{ProcessTarget::open(process.pid), 0};
  ProcessFactsReader reader;
  const auto* facts = reader.of(process.pid);
  const bool isSame = facts != nullptr && result.target && !result.target->hasEnded() &&
                      (process.startTime == 0 || facts->startTime == process.startTime);
  if (!isSame) {
    result.target.reset();
  } else {
    result.nice = static_cast<int>(facts->nice);
  }
  return result;
}

QString outcome(const ChosenProcess& process, const std::optional<std::string>& refused,
                const QString& done) {
  return titled(process) + ": " + (refused ? QString::fromStdString(*refused) : done);
}

QString hasEnded(const ChosenProcess& process) {
  return titled(process) + ": the process has ended";
}

}  // namespace

QString askAndSignal(const ChosenProcess& process, const ProcessSignal& signal,
                     const Questions& questions) {
  const auto [target, nice] = opened(process);
  if (!target) return hasEnded(process);
  const QString button = QString(signal.action).chopped(1);
  const QString text = QString(signal.question).arg(titled(process));
  if (!questions.confirm(QString(signal.name) + " to " + process.name, text, button)) return {};
  return outcome(process, target->sendSignal(signal.signal), QString(signal.name) + " sent");
}

QString askAndRenice(const ChosenProcess& process, const Questions& questions) {
  const auto [target, now] = opened(process);
  if (!target) return hasEnded(process);
  const auto nice = questions.nice(
      "Priority of " + process.name,
      QString("Nice value of %1, from -20 (first) to 19 (last):").arg(titled(process)), now);
  if (!nice) return {};
  return outcome(process, target->setNice(*nice), QString("nice value is %1 now").arg(*nice));
}

Questions questionsOver(QWidget* parent) {
  Questions questions;
  questions.confirm = [parent](const QString& title, const QString& text, const QString& button) {
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Cancel, parent);
    box.setTextFormat(Qt::PlainText);
    auto* go = box.addButton(button, QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == go;
  };
  questions.nice = [parent](const QString& title, const QString& text,
                            int now) -> std::optional<int> {
    constexpr int kFirst = -20;
    constexpr int kLast = 19;
    bool isGiven = false;
    const int nice = QInputDialog::getInt(parent, title, Qt::convertFromPlainText(text), now,
                                          kFirst, kLast, 1, &isGiven);
    return isGiven ? std::optional(nice) : std::nullopt;
  };
  return questions;
}

}  // namespace tarvel::viewer
