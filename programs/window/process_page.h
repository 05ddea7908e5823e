#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "programs/window/icons.h"
#include "programs/window/page.h"
#include "programs/window/process_actions.h"
#include "programs/window/process_rows.h"

class QAction;
class QLabel;
class QLineEdit;
class QTreeView;

namespace tarvel::viewer {

class Graph;

// The busiest processes as one table, with the history of the selected one below.
class ProcessPage : public Page {
 public:
  using Tell = std::function<void(const QString& message)>;

  // `tell` shows an outcome. The icons outlive the page.
  ProcessPage(ApplicationIcons& icons, Questions questions, Tell tell);
  ~ProcessPage() override;

  void refresh(Watching& watching) override;
  void leave() override { watching_ = nullptr; }

  // Their processes below each application.
  void setGrouped(bool isGrouped);
  bool isGrouped() const { return choices_.isGrouped; }

  void search();  // the keyboard goes to the search field
  void signal(const ProcessSignal& signal);
  void renice();
  void setContextActions(const QList<QAction*>& actions);  // of the table's own menu

 protected:
  void changeEvent(QEvent* event) override;

 private:
  struct Known {
    std::string listedName;
    ProcessIdentity identity;
    std::uint64_t refresh = 0;
  };

  void buildView();
  void colourSearch();
  void rebuild();
  void showHistory();
  ProcessIdentity identityOf(const ProcessRow& row);
  ChosenProcess chosen() const;

  ApplicationIcons& icons_;
  Questions questions_;
  Tell tell_;
  Watching* watching_ = nullptr;
  ProcessChoices choices_;
  std::map<std::int32_t, Known> known_;
  std::uint64_t refresh_ = 0;
  RowTree rows_;
  QTreeView* view_;
  QLineEdit* search_;
  QLabel* note_;
  Graph* processorGraph_;
  Graph* memoryGraph_;
};

}  // namespace tarvel::viewer
