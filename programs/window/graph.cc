#include "programs/window/graph.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <utility>

#include "programs/window/card.h"
#include "programs/window/colours.h"

namespace tarvel::viewer {
namespace {

constexpr int kFillOpacity = 45;  // of 255
constexpr int kGridOpacity = 40;
constexpr int kGap = 6;
constexpr double kPen = 1.6;

QColor gridColour(const QPalette& palette) {
  QColor colour = palette.color(QPalette::Text);
  colour.setAlpha(kGridOpacity);
  return colour;
}

// A number that is pleasant at the end of a scale: 1, 2 or 5 times a power of ten.
double roundedUp(double value) {
  if (!(value > 0)) return 1;
  const double power = std::pow(10, std::floor(std::log10(value)));
  for (const double step : {1.0, 2.0, 5.0}) {
    if (value <= step * power) return step * power;
  }
  return 10 * power;
}

}  // namespace

std::vector<double> valuesOf(const Series& series, std::size_t length) {
  std::vector<double> values;
  const std::size_t count = std::min(series.size(), length);
  values.reserve(count);
  for (std::size_t i = series.size() - count; i < series.size(); ++i) {
    values.push_back(series.at(i));
  }
  return values;
}

Scale scaleOfBytes(const std::vector<Graph::Line>& lines) {
  constexpr double kKibi = 1024;
  double most = 1;
  for (const auto& line : lines) {
    for (const double value : line.values) most = std::max(most, value);
  }
  double unit = kKibi;
  while (most > unit * kKibi) unit *= kKibi;
  return {0, roundedUp(std::max(most / unit, 1.0)) * unit};
}

Graph::Graph(const QString& title, Text text, QWidget* parent)
    : QWidget(parent), title_(title), text_(std::move(text)) {
  setAccessibleName(title);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QSize Graph::minimumSizeHint() const {
  constexpr int kWidth = 24;  // characters
  constexpr int kLines = 5;
  return {fontMetrics().averageCharWidth() * kWidth, fontMetrics().height() * kLines};
}

QSize Graph::sizeHint() const { return minimumSizeHint() * 1.6; }

void Graph::change() {
  picture_ = {};
  update();
}

void Graph::setTitle(const QString& title) {
  if (title == title_) return;
  title_ = title;
  setAccessibleName(title);
  change();
}

void Graph::setCaption(const QString& caption) {
  if (caption == caption_) return;
  caption_ = caption;
  setAccessibleDescription(caption);
  change();
}

void Graph::setTime(std::size_t length, const QString& name) {
  length_ = std::max<std::size_t>(length, 2);
  time_ = name;
  change();
}

void Graph::show(std::vector<Line> lines, Scale scale) {
  lines_ = std::move(lines);
  scale_ = scale;
  change();
}

void Graph::setMark(std::optional<double> mark) {
  if (mark == mark_) return;
  mark_ = mark;
  change();
}

void Graph::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) change();
  QWidget::changeEvent(event);
}

void Graph::paintEvent(QPaintEvent*) {
  const auto ratio = devicePixelRatioF();
  const QSize size = this->size() * ratio;
  if (picture_.size() != size || picture_.devicePixelRatio() != ratio) {
    picture_ = QPixmap(size);
    picture_.setDevicePixelRatio(ratio);
    picture_.fill(palette().color(QPalette::Window));
    QPainter painter(&picture_);
    draw(painter);
  }
  QPainter(this).drawPixmap(0, 0, picture_);
}

Scale Graph::drawnScale() const {
  Scale scale = scale_;
  if (scale.to > scale.from) return scale;
  double least = scale.from;
  double most = scale.from;
  bool isFirst = true;
  for (const auto& line : lines_) {
    for (const double value : line.values) {
      least = isFirst ? value : std::min(least, value);
      most = isFirst ? value : std::max(most, value);
      isFirst = false;
    }
  }
  if (scale.from == 0 && scale.to == 0 && least >= 0 && most > 0 && least < most / 2) {
    return {0, roundedUp(most)};
  }
  constexpr double kMargin = 0.1;
  const double margin = std::max((most - least) * kMargin, std::abs(most) * 0.01);
  return {least - margin, most > least || margin > 0 ? most + margin : least + 1};
}

void Graph::draw(QPainter& painter) const {
  painter.setFont(font());
  QRect inner = paintCard(painter, *this, title_, caption_);
  const int footHeight = fontMetrics().height();
  if (inner.height() < 2 * footHeight) return;
  const QRect foot(inner.left(), inner.bottom() - footHeight, inner.width(), footHeight);
  const QRect plot = inner.adjusted(0, 0, 0, -footHeight - kGap / 2);
  const Scale scale = drawnScale();
  painter.setRenderHint(QPainter::Antialiasing);
  drawAxes(painter, plot, scale);
  for (std::size_t i = lines_.size(); i-- > 0;) drawLine(painter, plot, scale, i);
  painter.setPen(faintColour(palette()));
  const int used = lines_.size() > 1 ? drawLegend(painter, foot) : 0;
  painter.setPen(faintColour(palette()));
  painter.drawText(foot.adjusted(used, 0, 0, 0), Qt::AlignRight | Qt::AlignVCenter, time_);
}

void Graph::drawAxes(QPainter& painter, QRect plot, Scale scale) const {
  constexpr int kParts = 4;
  painter.setPen(QPen(gridColour(palette()), 1));
  for (int i = 0; i <= kParts; ++i) {
    const double y = plot.top() + plot.height() * static_cast<double>(i) / kParts;
    painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
  }
  if (mark_ && *mark_ > scale.from && *mark_ < scale.to) {
    const double y =
        plot.bottom() - plot.height() * (*mark_ - scale.from) / (scale.to - scale.from);
    painter.setPen(QPen(levelColour(Level::kHot, palette()), 1, Qt::DashLine));
    painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
  }
  painter.setPen(faintColour(palette()));
  painter.drawText(plot.adjusted(2, 1, 0, 0), Qt::AlignLeft | Qt::AlignTop, text_(scale.to));
  painter.drawText(plot.adjusted(2, 0, 0, -1), Qt::AlignLeft | Qt::AlignBottom, text_(scale.from));
}

void Graph::drawLine(QPainter& painter, QRect plot, Scale scale, std::size_t index) const {
  const auto& values = lines_[index].values;
  if (values.empty()) return;
  const double step = plot.width() / static_cast<double>(length_ - 1);
  const std::size_t count = std::min(values.size(), length_);
  const double range = scale.to - scale.from;
  QPolygonF points;
  for (std::size_t i = 0; i < count; ++i) {
    const double value = values[values.size() - count + i];
    const double share = range > 0 ? std::clamp((value - scale.from) / range, 0.0, 1.0) : 0;
    points << QPointF(plot.right() - step * static_cast<double>(count - 1 - i),
                      plot.bottom() - plot.height() * share);
  }
  QColor colour = seriesColour(index, palette());
  painter.setPen(QPen(colour, kPen, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  if (count == 1) {
    painter.setBrush(colour);
    painter.drawEllipse(points.front() - QPointF(kPen, 0), kPen, kPen);
    return;
  }
  painter.drawPolyline(points);
  if (lines_.size() > 1) return;
  colour.setAlpha(kFillOpacity);
  points << QPointF(points.back().x(), plot.bottom()) << QPointF(points.front().x(), plot.bottom());
  painter.setPen(Qt::NoPen);
  painter.setBrush(colour);
  painter.drawPolygon(points);
}

// Returns the width that it took.
int Graph::drawLegend(QPainter& painter, QRect foot) const {
  constexpr int kSwatch = 10;
  int left = foot.left();
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(seriesColour(i, palette()));
    painter.drawRoundedRect(QRectF(left, foot.center().y() - kSwatch / 4.0, kSwatch, kSwatch / 2.0),
                            2, 2);
    left += kSwatch + kGap;
    const int width = fontMetrics().horizontalAdvance(lines_[i].name);
    painter.setPen(faintColour(palette()));
    painter.drawText(QRect(left, foot.top(), width + 1, foot.height()),
                     Qt::AlignLeft | Qt::AlignVCenter, lines_[i].name);
    left += width + 2 * kGap;
  }
  return left - foot.left();
}

}  // namespace tarvel::viewer
