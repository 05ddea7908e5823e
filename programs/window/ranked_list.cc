#include "programs/window/ranked_list.h"

#include <QPainter>
#include <algorithm>
#include <utility>

#include "programs/window/bar.h"
#include "programs/window/card.h"
#include "programs/window/colours.h"

namespace tarvel::viewer {
namespace {

constexpr int kIconSide = 16;
constexpr int kGap = 6;
constexpr int kBarHeight = 4;

}  // namespace

bool RankedList::Item::operator==(const Item& other) const {
  return icon.cacheKey() == other.icon.cacheKey() && name == other.name && value == other.value &&
         share == other.share && level == other.level;
}

RankedList::RankedList(const QString& title, QWidget* parent) : QWidget(parent), title_(title) {
  setAccessibleName(title);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

int RankedList::lineHeight() const {
  return std::max(fontMetrics().height(), kIconSide) + kBarHeight + kGap;
}

QSize RankedList::minimumSizeHint() const {
  constexpr int kWidth = 24;  // characters
  constexpr int kLines = 3;
  return {fontMetrics().averageCharWidth() * kWidth,
          cardHeadHeight(*this) + kLines * lineHeight() + kCardPadding};
}

QSize RankedList::sizeHint() const { return minimumSizeHint() + QSize(0, 2 * lineHeight()); }

void RankedList::show(std::vector<Item> items, const QString& whyEmpty) {
  if (items == items_ && whyEmpty == whyEmpty_) return;
  items_ = std::move(items);
  whyEmpty_ = whyEmpty;
  QStringList spoken;
  for (const auto& item : items_) spoken << item.name + " " + item.value;
  setAccessibleDescription(items_.empty() ? whyEmpty_ : spoken.join(", "));
  update();
}

void RankedList::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect inner = paintCard(painter, *this, title_, {});
  painter.setRenderHint(QPainter::Antialiasing);
  if (items_.empty()) {
    painter.setPen(faintColour(palette()));
    painter.drawText(inner, Qt::AlignCenter | Qt::TextWordWrap, whyEmpty_);
    return;
  }
  QRect line(inner.left(), inner.top(), inner.width(), lineHeight());
  for (const auto& item : items_) {
    if (line.bottom() > inner.bottom() + kGap) break;
    paintItem(painter, line, item);
    line.translate(0, lineHeight());
  }
}

void RankedList::paintItem(QPainter& painter, QRect line, const Item& item) const {
  const int textHeight = line.height() - kBarHeight - kGap;
  QRect text(line.left(), line.top(), line.width(), textHeight);
  if (!item.icon.isNull()) {
    item.icon.paint(&painter, QRect(text.left(), text.top(), kIconSide, textHeight));
    text.setLeft(text.left() + kIconSide + kGap);
  }
  const int valueWidth = fontMetrics().horizontalAdvance(item.value);
  const QRect name = text.adjusted(0, 0, -valueWidth - kGap, 0);
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(name, Qt::AlignLeft | Qt::AlignVCenter,
                   fontMetrics().elidedText(item.name, Qt::ElideRight, std::max(name.width(), 0)));
  painter.setPen(levelColour(item.level, palette()));
  painter.drawText(text, Qt::AlignRight | Qt::AlignVCenter, item.value);
  const QRectF track(line.left(), text.bottom() + 1.0, line.width(), kBarHeight);
  paintBar(painter, palette(), track, item.share, item.level, false);
}

}  // namespace tarvel::viewer
