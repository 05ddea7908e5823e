#pragma once

#include <vector>

#include "programs/dashboard/layout.h"
#include "programs/dashboard/painter.h"
#include "viewer/model.h"

namespace tarvel::viewer {

// What keys and the mouse do.
class Controller {
 public:
  Controller(Model& shown, Screen& terminal) : model(shown), screen(terminal) {}

  // Takes one key; false when it ends the dashboard.
  bool press(int key);

  // Where the panels stand, for the mouse.
  void placed(std::vector<PlacedPanel> where) { places = std::move(where); }

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

  Model& model;
  Screen& screen;
  Cursor at;
  std::vector<PlacedPanel> places;
};

}  // namespace tarvel::viewer
