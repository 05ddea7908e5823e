#include <algorithm>
#include <numeric>
#include <vector>

#include "programs/window/graph.h"
#include "programs/window/ranked_list.h"
#include "tests/main_window_fixture.h"

namespace tarvel::viewer {
namespace {

// In each line of the widget's picture, how many pixels are neither of the greys of texts and
// frames nor of the pale fill below a line.
std::vector<int> colouredPixels(QWidget& widget) {
  constexpr int kLeast = 50;
  const QImage image = widget.grab().toImage();
  std::vector<int> lines;
  for (int y = 0; y < image.height(); ++y) {
    lines.push_back(0);
    for (int x = 0; x < image.width(); ++x) {
      const QColor pixel = image.pixelColor(x, y);
      const auto [least, most] = std::minmax({pixel.red(), pixel.green(), pixel.blue()});
      lines.back() += static_cast<int>(most - least > kLeast);
    }
  }
  return lines;
}

int longest(const std::vector<int>& lines, std::size_t from, std::size_t to) {
  return *std::max_element(lines.begin() + static_cast<long>(from),
                           lines.begin() + static_cast<long>(to));
}

TEST_F(Window, AGraphsLineIsAsHighAsItsValue) {
  Graph graph("Graph", [](double) { return QString(); });
  graph.resize(400, 200);
  graph.setTime(10, "");
  std::size_t lower = 200;
  for (const double value : {0.0, 25.0, 50.0, 100.0}) {
    graph.show({{{}, std::vector<double>(10, value)}}, {0, 100});
    const auto lines = colouredPixels(graph);
    const auto top =
        static_cast<std::size_t>(std::max_element(lines.begin(), lines.end()) - lines.begin());
    EXPECT_GT(longest(lines, top, top + 1), 350) << "from one side to the other";
    EXPECT_LT(top, lower) << value;
    lower = top - 10;
  }
  graph.show({{{}, std::vector<double>(5, 50)}}, {0, 100});
  EXPECT_LT(longest(colouredPixels(graph), 0, 200), 220) << "half of the time";
  const auto count = [&] {
    const auto lines = colouredPixels(graph);
    return std::accumulate(lines.begin(), lines.end(), 0);
  };
  const int before = count();
  graph.setMark(75);
  EXPECT_GT(count(), before + 50) << "the mark";
  graph.setMark(101);
  EXPECT_EQ(count(), before) << "outside of the scale";
}

TEST_F(Window, BarsAreAsLongAsTheirShares) {
  RankedList list("Bars");
  list.resize(400, 300);
  std::vector<RankedList::Item> items(3);
  items[0].share = 1;
  items[1].share = 0.5;
  list.show(items, {});
  std::vector<int> bars;
  int before = 0;
  for (const int line : colouredPixels(list)) {
    if (line > 0 && before == 0) bars.push_back(0);
    if (line > 0) bars.back() = std::max(bars.back(), line);
    before = line;
  }
  ASSERT_EQ(bars.size(), 2U);
  EXPECT_NEAR(bars[0], 2 * bars[1], 4);
  EXPECT_GT(bars[0], 350);
  list.show({}, "nothing to show");
  EXPECT_EQ(longest(colouredPixels(list), 0, 300), 0);
  EXPECT_EQ(list.accessibleDescription(), "nothing to show");
}

TEST_F(Window, GraphsAndListsShowWhatThereIs) {
  fillStore();
  WindowSettings settings;
  MainWindow window(store, settings, setting());
  window.show();
  for (const auto& [page, least] : {std::pair("overview", 3), {"processes", 1}, {"sensors", 1}}) {
    window.showPage(page);
    for (int i = 0; i < 4; ++i) tick(window, 4s);
    int drawn = 0;
    for (auto* widget : window.findChildren<QWidget*>()) {
      const auto* graph = dynamic_cast<Graph*>(widget);
      if (graph == nullptr || !graph->isVisible()) continue;
      if (graph->lines().empty() || graph->lines()[0].values.empty()) continue;
      ++drawn;
      const auto lines = colouredPixels(*widget);
      EXPECT_GT(longest(lines, 0, lines.size()), 0)
          << page << ": " << widget->accessibleName().toStdString();
    }
    EXPECT_GE(drawn, least) << page;
  }
  window.showPage("overview");
  tick(window, 4s);
  std::map<QString, std::size_t> lists;
  for (auto* widget : window.findChildren<QWidget*>()) {
    const auto* list = dynamic_cast<RankedList*>(widget);
    if (list != nullptr) lists[list->accessibleName()] = list->items().size();
  }
  EXPECT_EQ(lists, (std::map<QString, std::size_t>{
                       {"Energy of applications", 1}, {"Fans", 1}, {"Hottest", 3}}));
}

}  // namespace
}  // namespace tarvel::viewer
