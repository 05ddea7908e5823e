#pragma once

#include <string>
#include <utility>

#include "programs/dashboard/painter.h"
#include "viewer/model.h"

namespace tarvel::viewer {

// What keys and the mouse do.
class Controller {
 public:
  Controller(Model& model, Screen& screen, Cursor start)
      : model_(model), screen_(screen), at_(std::move(start)) {}

  // Takes one key; false when it ends the dashboard.
  bool press(const Key& pressed);

  // What stands where, for the mouse.
  void painted(Picture picture) { picture_ = std::move(picture); }

  // The cursor within what there is now: the selection follows its row, and stays on its line where
  // that row is gone.
  const Cursor& cursor();

 private:
  bool pressInOverlay(int key);
  bool typeFilter(int key);
  bool typeNice(int key);
  void chooseSignal(int key);
  void move(long rows);
  void focus(std::size_t panel);
  void focusNext(int step);
  bool navigate(int key);
  void choose(int key);
  bool act(int key);
  void openTarget(Overlay overlay);
  void toggleHidden();
  void point(const Key& mouse);
  bool clickHead(int row, int column);
  void changeInterval();
  const PanelView& panel() const { return model_.panels()[at_.panel]; }
  const DisplayRow* selected() const;

  Model& model_;
  Screen& screen_;
  Cursor at_;
  Picture picture_;
};

}  // namespace tarvel::viewer
