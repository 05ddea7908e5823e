#include "programs/dashboard/controller.h"

#include <algorithm>
#include <array>

#include "programs/dashboard/overlays.h"
#include "text/conversions.h"

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

bool isBackspace(int key) { return key == kKeyBackspace || key == kDelete || key == kBackspace; }

bool isEnter(int key) { return key == '\n' || key == '\r' || key == kKeyEnter; }

// The last whole character goes.
void removeLast(std::string& text) {
  while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0U) == 0x80U) {
    text.pop_back();
  }
  if (!text.empty()) text.pop_back();
}

bool isIn(const Box& box, int row, int column) {
  return row >= box.top && row < box.top + box.height && column >= box.left &&
         column < box.left + box.width;
}

}  // namespace

const DisplayRow* Controller::selected() const {
  return at_.row < panel().rows.size() ? &panel().rows[at_.row] : nullptr;
}

const Cursor& Controller::cursor() {
  const auto& panels = model_.panels();
  const bool hasSensors = std::any_of(panels.begin(), panels.end(), [](const PanelView& view) {
    return !view.isList && !view.rows.empty();
  });
  if (hasSensors) at_.sources.request();
  if (panel().rows.empty()) focusNext(1);
  const auto& rows = panel().rows;
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [&](const DisplayRow& row) { return row.id == at_.rowId; });
  if (found != rows.end()) {
    at_.row = static_cast<std::size_t>(found - rows.begin());
  } else {
    at_.row = rows.empty() ? 0 : std::min(at_.row, rows.size() - 1);
    // While a question stands or details are open, the row they are about stays chosen.
    if (at_.overlay == Overlay::kNone) at_.rowId = rows.empty() ? "" : rows[at_.row].id;
  }
  if (const auto* row = selected(); row != nullptr && row->id == at_.detailed.id) {
    at_.detailed = *row;
  }
  return at_;
}

bool Controller::press(const Key& pressed) {
  const int key = pressed.code;
  at_.message.clear();
  if (key == kKeyResize) return true;
  if (key == kKeyClick || key == kKeyWheelUp || key == kKeyWheelDown) {
    if (at_.overlay == Overlay::kNone) point(pressed);
    return true;
  }
  if (at_.overlay != Overlay::kNone) return pressInOverlay(key);
  if (key == 'q' || key == 'Q') return false;
  if (key >= '1' && key <= '8') {
    model_.togglePanel(static_cast<std::size_t>(key - '1'));
  } else if (!navigate(key) && !act(key)) {
    choose(key);
  }
  return true;
}

bool Controller::pressInOverlay(int key) {
  switch (at_.overlay) {
    case Overlay::kFilter:
      return typeFilter(key);
    case Overlay::kNice:
      return typeNice(key);
    case Overlay::kSignal:
      chooseSignal(key);
      return true;
    default:
      at_.overlay = Overlay::kNone;
      return true;
  }
}

bool Controller::typeFilter(int key) {
  std::string& filter = model_.choices.filter;
  if (isEnter(key)) {
    at_.overlay = Overlay::kNone;
  } else if (key == kEscape) {
    filter.clear();
    at_.overlay = Overlay::kNone;
  } else if (isBackspace(key)) {
    removeLast(filter);
  } else if (key >= ' ' && key < 256 && key != kDelete && filter.size() < kFilterLimit) {
    filter.push_back(static_cast<char>(key));
  }
  model_.rebuild();
  return true;
}

bool Controller::typeNice(int key) {
  constexpr std::size_t kLongest = 3;
  if (isBackspace(key)) {
    removeLast(at_.input);
  } else if ((key == '-' || (key >= '0' && key <= '9')) && at_.input.size() < kLongest) {
    at_.input.push_back(static_cast<char>(key));
  } else if (isEnter(key) || key == kEscape) {
    at_.overlay = Overlay::kNone;
    if (key != kEscape && !at_.input.empty() && at_.target) {
      const auto refused = at_.target->setNice(intValue(at_.input));
      at_.message = at_.targetName + ": " + refused.value_or("priority changed");
    }
    at_.target.reset();
  }
  return true;
}

void Controller::chooseSignal(int key) {
  const auto entry = std::find_if(kMenuSignals.begin(), kMenuSignals.end(),
                                  [&](const MenuSignal& each) { return each.key == key; });
  if (entry == kMenuSignals.end() && key != kEscape) return;
  at_.overlay = Overlay::kNone;
  if (entry != kMenuSignals.end() && at_.target) {
    const auto refused = at_.target->sendSignal(entry->signal);
    at_.message = at_.targetName + ": " + refused.value_or(std::string(entry->name) + " sent");
  }
  at_.target.reset();
}

void Controller::move(long rows) {
  const auto last = static_cast<long>(panel().rows.size()) - 1;
  at_.row = static_cast<std::size_t>(
      std::clamp(static_cast<long>(at_.row) + rows, 0L, std::max(last, 0L)));
  const auto* row = selected();
  at_.rowId = row != nullptr ? row->id : "";
}

void Controller::focus(std::size_t index) {
  if (at_.panel == index) return;
  at_.panel = index;
  at_.row = 0;
  at_.rowId.clear();
}

// The next panel that has rows.
void Controller::focusNext(int step) {
  const auto count = model_.panels().size();
  for (std::size_t i = 1; i < count; ++i) {
    const auto index = (at_.panel + (step > 0 ? i : count - i)) % count;
    if (!model_.panels()[index].rows.empty()) return focus(index);
  }
}

bool Controller::navigate(int key) {
  const auto all = static_cast<long>(panel().rows.size());
  switch (key) {
    case '\t':
      focusNext(1);
      return true;
    case kKeyBackTab:
      focusNext(-1);
      return true;
    case kKeyDown:
    case 'j':
      move(1);
      return true;
    case kKeyUp:
    case 'k':
      move(-1);
      return true;
    case kKeyPageDown:
      move(kPage);
      return true;
    case kKeyPageUp:
      move(-kPage);
      return true;
    case kKeyHome:
      move(-all);
      return true;
    case kKeyEnd:
      move(all);
      return true;
    default:
      return false;
  }
}

bool Controller::act(int key) {
  switch (key) {
    case '\n':
    case kKeyEnter:
      if (const auto* row = selected()) {
        at_.detailed = *row;
        at_.rowId = row->id;
        at_.overlay = Overlay::kDetails;
      }
      return true;
    case '?':
    case kKeyF1:
      at_.overlay = Overlay::kHelp;
      return true;
    case 'x':
    case kKeyF9:
      openTarget(Overlay::kSignal);
      return true;
    case 'n':
    case kKeyF7:
      openTarget(Overlay::kNice);
      return true;
    case 'h':
      toggleHidden();
      return true;
    case 'r':
      screen_.redraw();
      return true;
    case 'T':
      screen_.setTheme(nextTheme(screen_.theme()));
      return true;
    case 'z':
      at_.isZoomed = !at_.isZoomed;
      return true;
    case 'w':
      at_.showsColumns = !at_.showsColumns;
      return true;
    case 'i':
      changeInterval();
      return true;
    default:
      return false;
  }
}

void Controller::changeInterval() {
  using namespace std::chrono_literals;
  constexpr std::array<std::chrono::milliseconds, 4> kIntervals = {1s, 2s, 3s, 5s};
  const auto next = std::upper_bound(kIntervals.begin(), kIntervals.end(), model_.interval);
  model_.interval = next != kIntervals.end() ? *next : kIntervals.front();
  at_.message = "totals every " + std::to_string(model_.interval.count() / 1000) + " s";
}

void Controller::choose(int key) {
  auto& choices = model_.choices;
  switch (key) {
    case '/':
    case '\\':
      at_.overlay = Overlay::kFilter;
      choices.filteredPanel = key == '/' ? std::string_view{} : panel().key;
      break;
    case 's':
      choices.order = next(choices.order);
      break;
    case 'g':
      choices.isGrouped = !choices.isGrouped;
      break;
    case 't':
      choices.isTree = !choices.isTree;
      break;
    case 'H':
      choices.showsHidden = !choices.showsHidden;
      break;
    case 'u':
      choices.isFahrenheit = !choices.isFahrenheit;
      break;
    case 'f':
    case ' ':
      choices.isFrozen = !choices.isFrozen;
      break;
    case kEscape:
      choices.filter.clear();
      break;
    default:
      return;
  }
  model_.rebuild();
}

// The process is opened now: whatever the list shows when the answer comes, it is for this one.
void Controller::openTarget(Overlay overlay) {
  const auto* row = selected();
  if (row == nullptr || row->pid <= 0) {
    at_.message = "select a process first";
    return;
  }
  at_.target = ProcessTarget::open(row->pid);
  if (!at_.target) {
    at_.message = row->name + ": the process has ended";
    return;
  }
  at_.targetName = row->name;
  at_.rowId = row->id;
  at_.input.clear();
  at_.overlay = overlay;
}

void Controller::toggleHidden() {
  const auto* row = selected();
  if (row == nullptr) return;
  if (panel().isList) {
    at_.message = "processes cannot be hidden";
    return;
  }
  if (!model_.toggleHidden(at_.panel, *row)) at_.message = "the store takes no writes";
}

bool Controller::clickHead(int row, int column) {
  for (const auto& head : picture_.heads) {
    if (!isIn(head.box, row, column)) continue;
    auto& order = model_.choices.order;
    order = order == head.order ? Order::kListed : head.order;
    model_.rebuild();
    return true;
  }
  return false;
}

void Controller::point(const Key& mouse) {
  if (mouse.code == kKeyWheelUp) return move(-1);
  if (mouse.code == kKeyWheelDown) return move(1);
  if (clickHead(mouse.row, mouse.column)) return;
  for (const auto& placed : picture_.panels) {
    if (!isIn(placed.box, mouse.row, mouse.column)) continue;
    const bool isSame = placed.panel == at_.panel;
    const Box inner = innerOf(model_.panels()[placed.panel], placed.box);
    const auto shown = shownRows(model_.panels()[placed.panel], inner, isSame ? at_.row : 0);
    focus(placed.panel);
    const auto line =
        static_cast<std::size_t>(std::clamp(mouse.row - inner.top, 0, inner.height - 1));
    const bool isRight = shown.columns > 1 && mouse.column >= inner.left + inner.width / 2;
    at_.row = shown.first + line + (isRight ? shown.perColumn : 0);
    move(0);
  }
}

}  // namespace tarvel::viewer
