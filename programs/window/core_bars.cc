#include "programs/window/core_bars.h"

#include <QPainter>
#include <algorithm>

#include "programs/window/bar.h"
#include "programs/window/card.h"
#include "programs/window/figures.h"

namespace tarvel::viewer {
namespace {

constexpr int kGap = 6;
constexpr double kWarmShare = 0.7;
constexpr double kHotShare = 0.9;

}  // namespace

CoreBars::CoreBars(QWidget* parent) : QWidget(parent) {
  setAccessibleName("Each processor");
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QSize CoreBars::sizeHint() const {
  constexpr int kWidth = 24;  // characters
  constexpr int kLines = 8;
  return {fontMetrics().averageCharWidth() * kWidth, fontMetrics().height() * kLines};
}

void CoreBars::show(const std::vector<double>& shares) {
  if (shares == shares_) return;
  shares_ = shares;
  QStringList spoken;
  for (const double share : shares_) spoken << percentText(share);
  setAccessibleDescription(spoken.join(", "));
  update();
}

void CoreBars::paintEvent(QPaintEvent*) {
  constexpr double kWidest = 40;
  QPainter painter(this);
  const QRect inner = paintCard(painter, *this, "Each processor",
                                shares_.empty() ? QString() : QString::number(shares_.size()));
  if (shares_.empty()) return;
  painter.setRenderHint(QPainter::Antialiasing);
  const double slot = inner.width() / static_cast<double>(shares_.size());
  const double gap = std::min<double>(kGap, slot / 4);
  const double width = std::min(slot - gap, kWidest);
  const bool hasNumbers = slot > fontMetrics().horizontalAdvance("00");
  const int foot = hasNumbers ? fontMetrics().height() : 0;
  for (std::size_t i = 0; i < shares_.size(); ++i) {
    const double left = inner.left() + slot * (static_cast<double>(i) + 0.5) - width / 2;
    const double share = std::clamp(shares_[i], 0.0, 1.0);
    const auto level = share >= kHotShare    ? Level::kHot
                       : share >= kWarmShare ? Level::kWarm
                                             : Level::kNormal;
    paintBar(painter, palette(),
             QRectF(left, inner.top(), width, inner.height() - foot - kGap / 2.0), share, level,
             true);
    if (!hasNumbers) continue;
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(QRectF(left - gap, inner.bottom() - foot, width + 2 * gap, foot),
                     Qt::AlignCenter, QString::number(i));
  }
}

}  // namespace tarvel::viewer
