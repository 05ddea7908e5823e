#include "programs/window/bar.h"

#include <QPainter>

#include "programs/window/colours.h"

namespace tarvel::viewer {
namespace {

constexpr int kTrackOpacity = 35;  // of 255

QColor barColour(Level level, const QPalette& palette) {
  return level == Level::kNormal ? seriesColour(0, palette) : levelColour(level, palette);
}

}  // namespace

void paintBar(QPainter& painter, const QPalette& palette, QRectF track, double share, Level level,
              bool isUpright) {
  QColor ground = palette.color(QPalette::Text);
  ground.setAlpha(kTrackOpacity);
  painter.setPen(Qt::NoPen);
  painter.setBrush(ground);
  painter.drawRoundedRect(track, 2, 2);
  QRectF bar = track;
  if (isUpright) {
    bar.setTop(track.bottom() - track.height() * share);
  } else {
    bar.setWidth(track.width() * share);
  }
  painter.setBrush(barColour(level, palette));
  painter.drawRoundedRect(bar, 2, 2);
}

}  // namespace tarvel::viewer
