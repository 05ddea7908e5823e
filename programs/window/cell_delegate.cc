#include "programs/window/cell_delegate.h"

#include <QApplication>
#include <QHeaderView>
#include <QIcon>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>
#include <QTreeView>

namespace tarvel::viewer {
namespace {

constexpr int kMargin = 6;      // to the left and right of a cell's contents
constexpr int kHeadMargin = 4;  // of a column's head, beside the two pixels of most styles
constexpr int kRowPadding = 6;  // of a row's height beyond its text
constexpr int kIconSide = 16;

// The application's, but a column's head stands as far from its edges as its cells' contents.
class HeaderStyle : public QProxyStyle {
 public:
  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override {
    const auto* head = qstyleoption_cast<const QStyleOptionHeader*>(option);
    if (element != CE_HeaderLabel || head == nullptr) {
      return QProxyStyle::drawControl(element, option, painter, widget);
    }
    QStyleOptionHeader label = *head;
    label.version = QStyleOptionHeader::Version;  // it may be a later one's beginning
    label.rect.adjust(kHeadMargin, 0, -kHeadMargin, 0);
    QProxyStyle::drawControl(element, &label, painter, widget);
  }
};

}  // namespace

void CellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
  const auto* style = option.widget != nullptr ? option.widget->style() : QApplication::style();
  const bool isSelected = (option.state & QStyle::State_Selected) != 0;
  if (isSelected || (option.state & QStyle::State_MouseOver) != 0) {
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
  }
  QRect area = option.rect.adjusted(kMargin, 0, -kMargin, 0);
  if (const auto icon = index.data(Qt::DecorationRole); icon.isValid()) {
    const int side = option.decorationSize.width();
    icon.value<QIcon>().paint(painter, QRect(area.left(), area.top(), side, area.height()));
    area.setLeft(area.left() + side + kMargin);
  }
  const QString text = index.data(Qt::DisplayRole).toString();
  if (text.isEmpty() || area.width() <= 0) return;
  const auto group =
      (option.state & QStyle::State_Active) != 0 ? QPalette::Active : QPalette::Inactive;
  const auto colour = index.data(Qt::ForegroundRole);
  const auto font = index.data(Qt::FontRole);
  painter->setFont(font.isValid() ? font.value<QFont>() : option.font);
  painter->setPen(isSelected         ? option.palette.color(group, QPalette::HighlightedText)
                  : colour.isValid() ? colour.value<QColor>()
                                     : option.palette.color(group, QPalette::Text));
  // Only what nearly fills its cell is measured.
  const bool mayFit = text.size() * option.fontMetrics.averageCharWidth() * 2 < area.width();
  const auto alignment = index.data(Qt::TextAlignmentRole).value<Qt::Alignment>();
  painter->drawText(
      area, static_cast<int>(alignment) | Qt::TextSingleLine,
      mayFit ? text : option.fontMetrics.elidedText(text.left(400), Qt::ElideRight, area.width()));
}

QSize CellDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  QString text = index.data(Qt::DisplayRole).toString();
  const int icon = index.column() == 0 ? option.decorationSize.width() + kMargin : 0;
  return {option.fontMetrics.horizontalAdvance(text) + icon + 2 * kMargin,
          std::max(option.fontMetrics.height(), option.decorationSize.height()) + kRowPadding};
}

void setUpRows(QTreeView& view) {
  view.setItemDelegate(new CellDelegate(&view));
  view.setUniformRowHeights(true);
  view.setAllColumnsShowFocus(true);
  view.setAlternatingRowColors(true);
  view.setIconSize({kIconSide, kIconSide});
  view.setSelectionBehavior(QAbstractItemView::SelectRows);
  view.setEditTriggers(QAbstractItemView::NoEditTriggers);
  view.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  view.setFrameShape(QFrame::StyledPanel);
  auto* style = new HeaderStyle;
  style->setParent(&view);
  view.header()->setStyle(style);
}

}  // namespace tarvel::viewer
