#pragma once

#include <QPixmap>
#include <QString>
#include <QWidget>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "viewer/display_rows.h"
#include "viewer/history.h"

namespace tarvel::viewer {

// Values over time in a card: the newest to the right. Drawn once for each change into a picture,
// which is put on the screen as often as that asks for it.
class Graph : public QWidget {
 public:
  struct Line {
    QString name;                // of the legend, which stands where there are several
    std::vector<double> values;  // the oldest first
  };
  using Text = std::function<QString(double value)>;

  // The name is what people hear who cannot see it. Numbers beside the scale are written by `text`.
  explicit Graph(const QString& title, Text text, QWidget* parent = nullptr);

  void setTitle(const QString& title);
  void setCaption(const QString& caption);

  // So many values fill the width, which is the time of this name. Without a scale it reaches from
  // the least to the largest value; with `from` alone, from there to the largest.
  void setTime(std::size_t length, const QString& name);
  void show(std::vector<Line> lines, Scale scale);

  // A line across, where it lies within the scale.
  void setMark(std::optional<double> mark);

  const std::vector<Line>& lines() const { return lines_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void change();
  void draw(QPainter& painter) const;
  Scale drawnScale() const;
  void drawAxes(QPainter& painter, QRect plot, Scale scale) const;
  void drawLine(QPainter& painter, QRect plot, Scale scale, std::size_t index) const;
  int drawLegend(QPainter& painter, QRect foot) const;

  QString title_;
  QString caption_;
  QString time_ = "10 minutes";
  Text text_;
  std::size_t length_ = Series::kLength;
  std::vector<Line> lines_;
  Scale scale_;
  std::optional<double> mark_;
  QPixmap picture_;
};

// The latest values of the series, `length` at most.
std::vector<double> valuesOf(const Series& series, std::size_t length = Series::kLength);

// From zero to a round amount of bytes that all values reach below.
Scale scaleOfBytes(const std::vector<Graph::Line>& lines);

}  // namespace tarvel::viewer
