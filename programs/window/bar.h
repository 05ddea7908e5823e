#pragma once

#include <QRectF>

#include "viewer/display_rows.h"

class QPainter;
class QPalette;

namespace tarvel::viewer {

// A bar on its track, filled to the share, from below where it is upright.
void paintBar(QPainter& painter, const QPalette& palette, QRectF track, double share, Level level,
              bool isUpright);

}  // namespace tarvel::viewer
