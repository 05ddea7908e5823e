#pragma once

#include <QWidget>

namespace tarvel::viewer {

class Watching;

// A page of the window. It shows what there was at the latest refresh, and hears of refreshes while
// it is on the screen alone.
class Page : public QWidget {
 public:
  // `watching` stays there until the next refresh or leave().
  virtual void refresh(Watching& watching) = 0;

  // Whether it shows the machine's totals, and so is due with each sample of them.
  virtual bool showsTotals() const { return false; }

  // Nothing is watched any more.
  virtual void leave() {}
};

}  // namespace tarvel::viewer
