#pragma once

#include <vector>

#include "programs/dashboard/layout.h"
#include "programs/dashboard/painter.h"
#include "viewer/model.h"

namespace tarvel::viewer {

// What keys and the mouse do.
class Controller {
 public:
  Controller(Model& model, Screen& screen) : model_(model), screen_(screen) {}

  // Takes one key; false when it ends the dashboard.
  bool press(int key);

  // Where the panels stand, for the mouse.
  void placed(std::vector<PlacedPanel> places) { places_ = std::move(places); }

  // The cursor within what there is now.
  const Cursor& cursor();

 private:
  bool typeFilter(int key);
  void move(long rows);
  void focus(std::size_t panel);
  void choose(int key);
  void toggleHidden();
  void click();
  std::size_t rowCount() const;

  Model& model_;
  Screen& screen_;
  Cursor at_;
  std::vector<PlacedPanel> places_;
};

}  // namespace tarvel::viewer
