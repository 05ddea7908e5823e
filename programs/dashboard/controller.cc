#include "programs/dashboard/controller.h"

#include <algorithm>

#include <curses.h>

#include "product/store_keys.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

constexpr int kEscape = 27;
constexpr int kDelete = 127;
constexpr int kBackspace = 8;
constexpr long kPage = 10;
constexpr std::size_t kFilterLimit = 40;

Order next(Order order) {
  return order == Order::kPid ? Order::kListed : static_cast<Order>(static_cast<int>(order) + 1);
}

}  // namespace

std::size_t Controller::rowCount() const {
  return at_.panel < model_.panels().size() ? model_.panels()[at_.panel].rows.size() : 0;
}

const Cursor& Controller::cursor() {
  if (at_.panel >= model_.panels().size()) at_.panel = 0;
  const auto rows = rowCount();
  at_.row = rows == 0 ? 0 : std::min(at_.row, rows - 1);
  return at_;
}

bool Controller::press(int key) {
  at_.message.clear();
  if (key == KEY_RESIZE) return true;
  if (at_.overlay == Overlay::kFilter) return typeFilter(key);
  if (at_.overlay != Overlay::kNone && key != KEY_MOUSE) {
    at_.overlay = Overlay::kNone;
    return true;
  }
  if (key == 'q' || key == 'Q') return false;
  if (key == KEY_MOUSE) {
    click();
  } else if (key >= '1' && key <= '8') {
    model_.switchPanel(kPanelTable[static_cast<std::size_t>(key - '1')].name);
  } else {
    choose(key);
  }
  return true;
}

bool Controller::typeFilter(int key) {
  std::string& filter = model_.choices.filter;
  if (key == '\n' || key == KEY_ENTER) {
    at_.overlay = Overlay::kNone;
  } else if (key == kEscape) {
    filter.clear();
    at_.overlay = Overlay::kNone;
  } else if (key == KEY_BACKSPACE || key == kDelete || key == kBackspace) {
    if (!filter.empty()) filter.pop_back();
  } else if (key >= ' ' && key < kDelete && filter.size() < kFilterLimit) {
    filter.push_back(static_cast<char>(key));
  }
  model_.rebuild();
  return true;
}

void Controller::move(long rows) {
  const auto last = static_cast<long>(rowCount()) - 1;
  at_.row = static_cast<std::size_t>(
      std::clamp(static_cast<long>(at_.row) + rows, 0L, std::max(last, 0L)));
}

void Controller::focus(std::size_t panel) {
  const auto count = model_.panels().size();
  at_.panel = count == 0 ? 0 : panel % count;
  at_.row = 0;
}

void Controller::choose(int key) {
  auto& choices = model_.choices;
  switch (key) {
    case '\t':
      focus(at_.panel + 1);
      break;
    case KEY_BTAB:
      focus(at_.panel + model_.panels().size() - 1);
      break;
    case KEY_DOWN:
    case 'j':
      move(1);
      break;
    case KEY_UP:
    case 'k':
      move(-1);
      break;
    case KEY_NPAGE:
      move(kPage);
      break;
    case KEY_PPAGE:
      move(-kPage);
      break;
    case KEY_HOME:
      move(-static_cast<long>(rowCount()));
      break;
    case KEY_END:
      move(static_cast<long>(rowCount()));
      break;
    case '\n':
    case KEY_ENTER:
      if (rowCount() > 0) at_.overlay = Overlay::kDetails;
      break;
    case '/':
      at_.overlay = Overlay::kFilter;
      break;
    case '?':
      at_.overlay = Overlay::kHelp;
      break;
    case 'h':
      toggleHidden();
      break;
    case 's':
      choices.order = next(choices.order);
      break;
    case 'g':
      choices.isGrouped = !choices.isGrouped;
      break;
    case 'H':
      choices.showsHidden = !choices.showsHidden;
      break;
    case 'f':
    case ' ':
      choices.isFrozen = !choices.isFrozen;
      break;
    case kEscape:
      choices.filter.clear();
      break;
    case 'r':
      screen_.redraw();
      break;
    default:
      return;
  }
  model_.rebuild();
}

void Controller::toggleHidden() {
  if (rowCount() == 0) return;
  const auto& panel = model_.panels()[at_.panel];
  if (panel.isList) {
    at_.message = "processes cannot be hidden";
    return;
  }
  if (!model_.toggleHidden(panel, panel.rows[at_.row])) at_.message = "the store takes no writes";
}

void Controller::click() {
  MEVENT event;
  if (getmouse(&event) != OK) return;
  if ((event.bstate & BUTTON4_PRESSED) != 0) return move(-1);
  if ((event.bstate & BUTTON5_PRESSED) != 0) return move(1);
  for (const auto& place : places_) {
    const Box& box = place.box;
    if (event.y < box.top || event.y >= box.top + box.height || event.x < box.left ||
        event.x >= box.left + box.width) {
      continue;
    }
    const bool same = place.panel == at_.panel;
    const auto first = same ? firstShownRow(at_.row, box.height - 2) : 0;
    if (!same) focus(place.panel);
    const int line = std::clamp(event.y - box.top - 1, 0, std::max(box.height - 3, 0));
    at_.row = first + static_cast<std::size_t>(line);
  }
}

}  // namespace tarvel::viewer
