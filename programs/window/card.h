#pragma once

#include <QRect>
#include <QString>

class QPainter;
class QWidget;

namespace tarvel::viewer {

inline constexpr int kCardPadding = 10;

// A titled area of the window, with a caption to the right of the title. Returns what is left of
// `area` for its contents.
QRect paintCard(QPainter& painter, const QWidget& widget, const QString& title,
                const QString& caption);

// The height that the title takes.
int cardHeadHeight(const QWidget& widget);

}  // namespace tarvel::viewer
