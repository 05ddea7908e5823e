#include "programs/window/card.h"

#include <QPainter>
#include <QWidget>

namespace tarvel::viewer {
namespace {

constexpr double kCorner = 6;
constexpr int kGap = 6;

QColor mixed(const QColor& a, const QColor& b, double share) {
  return QColor::fromRgbF(static_cast<float>(a.redF() * (1 - share) + b.redF() * share),
                          static_cast<float>(a.greenF() * (1 - share) + b.greenF() * share),
                          static_cast<float>(a.blueF() * (1 - share) + b.blueF() * share));
}

}  // namespace

int cardHeadHeight(const QWidget& widget) {
  return kCardPadding + widget.fontMetrics().height() + kGap;
}

QRect paintCard(QPainter& painter, const QWidget& widget, const QString& title,
                const QString& caption) {
  constexpr double kFrameShare = 0.2;
  const auto& palette = widget.palette();
  const QColor base = palette.color(QPalette::Base);
  const QColor text = palette.color(QPalette::Text);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(mixed(base, text, kFrameShare));
  painter.setBrush(base);
  painter.drawRoundedRect(QRectF(widget.rect()).adjusted(0.5, 0.5, -0.5, -0.5), kCorner, kCorner);
  const QRect inner =
      widget.rect().adjusted(kCardPadding, kCardPadding, -kCardPadding, -kCardPadding);
  const QRect head(inner.left(), inner.top(), inner.width(), widget.fontMetrics().height());
  QFont bold = widget.font();
  bold.setBold(true);
  const int titleWidth = QFontMetrics(bold).horizontalAdvance(title);
  painter.setPen(text);
  painter.setFont(bold);
  painter.drawText(head, Qt::AlignLeft | Qt::AlignVCenter, title);
  painter.setFont(widget.font());
  const QRect rest = head.adjusted(titleWidth + 2 * kGap, 0, 0, 0);
  painter.drawText(
      rest, Qt::AlignRight | Qt::AlignVCenter,
      widget.fontMetrics().elidedText(caption, Qt::ElideRight, std::max(rest.width(), 0)));
  painter.restore();
  return inner.adjusted(0, head.height() + kGap, 0, 0);
}

}  // namespace tarvel::viewer
