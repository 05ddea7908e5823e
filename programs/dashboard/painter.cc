#include "programs/dashboard/painter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "programs/dashboard/graphs.h"
#include "programs/dashboard/machine_lines.h"
#include "programs/dashboard/overlays.h"
#include "programs/dashboard/row_painter.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

constexpr int kTwoColumns = 76;     // columns from which sensors stand side by side
constexpr int kTotalsGraph = 40;    // lines of the screen from which the totals have graphs
constexpr int kSelectedGraph = 32;  // and the selected row
constexpr int kGraphHeight = 3;     // lines of a graph at least, and at most
constexpr int kTallestGraph = 8;

std::string formatted(const char* format, double value) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

std::string title(const Model& model, std::size_t panel, bool isZoomed) {
  const auto& view = model.panels()[panel];
  const auto& choices = model.choices;
  std::string text = std::to_string(panel + 1) + " " + std::string(panelTitle(view.name));
  if (view.isList && choices.isGrouped) text += " by application";
  if (view.isList && choices.isTree && !choices.isGrouped) text += " as a tree";
  if (choices.order == Order::kValue) text += ", largest first";
  if (choices.order == Order::kName) text += ", by name";
  if (choices.order == Order::kPid && view.isList) text += ", by id";
  const bool isFiltered = choices.filteredPanel.empty() || choices.filteredPanel == view.key;
  if (!choices.filter.empty() && isFiltered) text += " ~" + choices.filter;
  if (isZoomed) text += " (zoomed)";
  if (view.isStale) text += " - STALE, " + ageText(view.age);
  return text;
}

// The totals, then per-core load and graphs where they fit. Returns the lines taken.
int paintMachine(Screen& screen, const Model& model) {
  const Box area = screen.area();
  int line = 0;
  for (const auto& pieces : machineLines(model.machine(), area.width)) {
    int left = 0;
    for (const auto& piece : pieces) {
      left += screen.put(line, left, area.width - left, piece.label, Ink::kTitle) + 1;
      const Ink ink = piece.level == Level::kNormal ? Ink::kPlain : inkOf(piece.level);
      if (piece.share >= 0) {
        screen.put(line, left, kBarWidth, barText(piece.share, kBarWidth, screen.isUnicode()),
                   inkOf(piece.level));
        left += kBarWidth + 1;
      }
      left += screen.put(line, left, area.width - left, piece.text, ink) + 3;
    }
    const bool isFirst = line == 0 && model.machine().processors;
    if (isFirst) {
      const auto& cores = model.machine().processors->cores;
      const int space = area.width - left;
      if (static_cast<int>(cores.size()) + 6 <= space) {
        left += screen.put(line, left, space, "cores ", Ink::kTitle);
        screen.put(line, left, area.width - left, blocksText(cores, screen.isUnicode()),
                   Ink::kGood);
      }
    }
    ++line;
  }
  return line;
}

void paintTotalsGraphs(Screen& screen, const Model& model, int top, int height) {
  const Box area = screen.area();
  const int width = (area.width - 3) / 2;
  const auto graph = [&](const Series& series, int left, const char* label) {
    const auto lines = graphLines(series, {0, 1}, width, height, screen.isUnicode());
    for (int i = 0; i < height; ++i) {
      screen.put(top + i, left, width, lines[static_cast<std::size_t>(i)], Ink::kGood);
    }
    screen.put(top, left, width, label, Ink::kDim);
  };
  graph(model.processorHistory(), 0, "CPU 100%");
  graph(model.memoryHistory(), width + 3, "Mem 100%");
}

void paintPanel(Screen& screen, Model& model, const PlacedPanel& placed, const Cursor& cursor,
                Picture& picture) {
  const auto& view = model.panels()[placed.panel];
  const bool isFocused = placed.panel == cursor.panel;
  const Box inner = innerOf(view, placed.box);
  const auto shown = shownRows(view, inner, isFocused ? cursor.row : 0);
  const std::size_t end = std::min(shown.first + shown.columns * shown.perColumn, view.rows.size());
  const std::size_t more = view.rows.size() - (end - shown.first);
  Ink ink = isFocused ? Ink::kFocus : Ink::kTitle;
  if (view.isStale) ink = Ink::kHot;
  screen.frame(placed.box, title(model, placed.panel, cursor.isZoomed), ink,
               more > 0 ? "+" + std::to_string(more) + " more" : "");
  if (inner.top > placed.box.top + 1) {
    const Box line = {inner.top - 1, inner.left, 1, inner.width};
    const auto heads = paintHeads(screen, view, line, model.choices, cursor.showsColumns);
    picture.heads.insert(picture.heads.end(), heads.begin(), heads.end());
  }
  constexpr int kGap = 2;
  const int columns = static_cast<int>(shown.columns);
  const int width = (inner.width - kGap * (columns - 1)) / std::max(columns, 1);
  for (std::size_t index = shown.first; index < end; ++index) {
    const auto place = index - shown.first;
    const int column = static_cast<int>(place / shown.perColumn);
    const Box line = {inner.top + static_cast<int>(place % shown.perColumn),
                      inner.left + column * (width + kGap), 1, width};
    const bool isSelected = isFocused && index == cursor.row;
    const Ink rowInk = isSelected ? Ink::kSelected : Ink::kPlain;
    if (view.isList) {
      paintListRow(screen, model, view.rows[index], line, cursor.showsColumns, rowInk);
    } else {
      const auto& row = view.rows[index];
      const auto source = cursor.sources.of(shortName(view.name), row.sensor, row.place);
      const std::string text =
          !source ? "" : (source->model.empty() ? source->chip : source->model);
      paintSensorRow(screen, model, row, text, line, rowInk);
    }
  }
}

// Panels without rows, by why they have none, and those that did not fit: a line each, or two
// where the reason does not fit behind the titles.
std::vector<std::string> foldedLines(const Model& model, const std::vector<std::size_t>& leftOut,
                                     int width) {
  std::vector<std::pair<std::string, std::string>> reasons;
  const auto add = [&](std::size_t panel, const std::string& why) {
    auto found = std::find_if(reasons.begin(), reasons.end(),
                              [&](const auto& reason) { return reason.first == why; });
    if (found == reasons.end()) found = reasons.insert(reasons.end(), {why, ""});
    if (!found->second.empty()) found->second += "  ";
    found->second +=
        std::to_string(panel + 1) + " " + std::string(panelTitle(model.panels()[panel].name));
  };
  for (std::size_t i = 0; i < model.panels().size(); ++i) {
    const auto& view = model.panels()[i];
    if (view.rows.empty()) add(i, view.emptyReason.empty() ? "waiting" : view.emptyReason);
  }
  for (const auto panel : leftOut) add(panel, "no room: Tab or a zoom (z) shows them");
  std::vector<std::string> lines;
  for (const auto& [why, panels] : reasons) {
    const bool fits = static_cast<int>(panels.size() + 2 + why.size()) <= width;
    lines.push_back(panels + ":" + (fits ? " " + why : ""));
    if (!fits) lines.push_back("  " + why);
  }
  return lines;
}

// The selected row's last ten minutes in the full width.
void paintSelectedGraph(Screen& screen, const Model& model, const Cursor& cursor, int top,
                        int height) {
  const auto& view = model.panels()[cursor.panel];
  if (cursor.row >= view.rows.size()) return;
  const auto& row = view.rows[cursor.row];
  const auto* series = model.history().of(row.id);
  if (series == nullptr) return;
  const Box area = screen.area();
  const auto lines = graphLines(*series, row.scale, area.width, height, screen.isUnicode());
  for (int i = 0; i < height; ++i) {
    screen.put(top + 1 + i, 0, area.width, lines[static_cast<std::size_t>(i)], Ink::kGood);
  }
  const Scale scale = drawnScale(*series, row.scale);
  screen.put(top, 0, area.width,
             row.name + "  " + row.value + "   scale " + textLike(row.value, scale.from) + " to " +
                 textLike(row.value, scale.to) + ", last 10 minutes",
             Ink::kTitle);
}

void paintStatus(Screen& screen, const Model& model, const Cursor& cursor) {
  const Box area = screen.area();
  const int line = area.height - 1;
  int left = 0;
  const auto say = [&](const std::string& text, Ink ink) {
    left += screen.put(line, left, area.width - left, text, ink);
  };
  if (const auto prompt = promptText(model, cursor); !prompt.empty()) {
    return say(prompt, Ink::kFocus);
  }
  if (!cursor.message.empty()) return say(cursor.message, Ink::kWarm);
  const auto& helper = model.helper();
  if (!helper) {
    say(" helper is not running ", Ink::kHot);
  } else if (helper->pid <= 0) {
    say(" helper is running ", Ink::kDim);  // one that does not tell its process id
  } else {
    say(" helper ", Ink::kDim);
    if (helper->millisecondsACycle) {
      say(formatted("%.1f ms per cycle, ", *helper->millisecondsACycle), Ink::kPlain);
    }
    say(formatted("%.1f MB ", static_cast<double>(helper->residentKilobytes) / 1024), Ink::kPlain);
  }
  if (model.choices.isFrozen) say(" frozen ", Ink::kWarm);
  constexpr std::string_view kKeys = "? help  q quit ";
  const int rest = area.width - static_cast<int>(kKeys.size());
  if (rest > left) screen.put(line, rest, area.width - rest, kKeys, Ink::kDim);
}

std::vector<PanelSize> sizesOf(const Model& model) {
  std::vector<PanelSize> sizes;
  for (std::size_t i = 0; i < model.panels().size(); ++i) {
    const auto& view = model.panels()[i];
    if (view.rows.empty()) continue;
    sizes.push_back({i, view.isList, static_cast<int>(view.rows.size()) + (view.isList ? 1 : 0)});
  }
  return sizes;
}

// How the lines between the totals and the status are shared out.
struct Division {
  int totalsGraph = 0;  // lines; 0: none
  int selectedGraph = 0;
  std::vector<std::string> folded;
  Layout layout;
  int panelsTop = 0;
  int panelsEnd = 0;
};

Division divide(const Model& model, const Cursor& cursor, Box area) {
  const auto sizes = sizesOf(model);
  Division division;
  division.totalsGraph = area.top + area.height + 1 >= kTotalsGraph ? kGraphHeight : 0;
  division.selectedGraph = area.top + area.height + 1 >= kSelectedGraph ? kGraphHeight : 0;
  division.folded = foldedLines(model, {}, area.width);
  const auto place = [&] {
    const int heading = division.selectedGraph > 0 ? 1 : 0;
    division.panelsTop = area.top + division.totalsGraph;
    division.panelsEnd = area.top + area.height - division.selectedGraph - heading -
                         static_cast<int>(division.folded.size());
    const int height = division.panelsEnd - division.panelsTop;
    division.layout =
        layOut(sizes, cursor.panel, {division.panelsTop, 0, height, area.width}, cursor.isZoomed);
    division.folded = foldedLines(model, division.layout.leftOut, area.width);
  };
  // What is left out needs a line of its own, which may leave out more: the second look settles it.
  place();
  place();
  if (division.layout.spare > 1 && division.totalsGraph > 0) {
    const int more = std::min(division.layout.spare / 2, kTallestGraph - kGraphHeight);
    division.totalsGraph += more;
    division.selectedGraph += more;
    place();
  }
  return division;
}

}  // namespace

Box innerOf(const PanelView& panel, Box box) {
  Box inner = {box.top + 1, box.left + 2, box.height - 2, box.width - 4};
  constexpr int kRoomForHeads = 4;
  if (panel.isList && inner.height >= kRoomForHeads) {
    ++inner.top;
    --inner.height;
  }
  return inner;
}

ShownRows shownRows(const PanelView& panel, Box inner, std::size_t selected) {
  ShownRows shown;
  shown.perColumn = static_cast<std::size_t>(std::max(inner.height, 1));
  const bool isCrowded = panel.rows.size() > shown.perColumn;
  if (!panel.isList && isCrowded && inner.width >= kTwoColumns) shown.columns = 2;
  const std::size_t fitting = shown.perColumn * shown.columns;
  shown.first = selected < fitting ? 0 : selected - fitting + 1;
  return shown;
}

Picture paint(Screen& screen, Model& model, const Cursor& cursor) {
  screen.begin();
  Picture picture;
  const Box area = screen.area();
  const int top = paintMachine(screen, model);
  auto division = divide(model, cursor, {top, 0, area.height - 1 - top, area.width});
  if (division.totalsGraph > 0) paintTotalsGraphs(screen, model, top, division.totalsGraph);
  for (std::size_t i = 0; i < division.folded.size(); ++i) {
    const int line = division.panelsEnd + static_cast<int>(i);
    if (line >= top) screen.put(line, 0, area.width, division.folded[i], Ink::kDim);
  }
  if (division.selectedGraph > 0) {
    const int line = area.height - 1 - division.selectedGraph - 1;
    paintSelectedGraph(screen, model, cursor, line, division.selectedGraph);
  }
  for (const auto& panel : division.layout.placed) {
    paintPanel(screen, model, panel, cursor, picture);
  }
  picture.panels = std::move(division.layout.placed);
  paintStatus(screen, model, cursor);
  paintOverlay(screen, model, cursor);
  screen.end();
  return picture;
}

}  // namespace tarvel::viewer
