#include "programs/window/tray.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <thread>

#include "platform/host/processes/child_process.h"

namespace tarvel::viewer {
namespace {

constexpr int kSide = 64;  // trays show between 16 and 64 pixels

// A badge with a ground of its own: what colour the tray has is not known.
QIcon badge(const QString& text) {
  constexpr double kCorner = 12;
  constexpr double kLargestText = 0.62;
  const QPalette palette = QGuiApplication::palette();
  QPixmap picture(kSide, kSide);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(palette.color(QPalette::Window));
  painter.drawRoundedRect(picture.rect(), kCorner, kCorner);
  QFont font = QGuiApplication::font();
  font.setBold(true);
  font.setPixelSize(static_cast<int>(kSide * kLargestText));
  const int width = std::max(QFontMetrics(font).horizontalAdvance(text), 1);
  constexpr int kRoom = kSide - 6;
  if (width > kRoom) font.setPixelSize(font.pixelSize() * kRoom / width);
  painter.setFont(font);
  painter.setPen(palette.color(QPalette::WindowText));
  painter.drawText(picture.rect(), Qt::AlignCenter, text);
  return picture;
}

}  // namespace

Tray::Tray(const Hooks& hooks) {
  menu_.addAction("&Show or hide the window", &menu_, [hooks] { hooks.toggleWindow(); });
  menu_.addAction("&Quit", &menu_, [hooks] { hooks.quit(); });
  icon_.setContextMenu(&menu_);
  QObject::connect(&icon_, &QSystemTrayIcon::activated, &menu_,
                   [hooks](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) hooks.toggleWindow();
                   });
}

bool Tray::isThere() const { return icon_.isVisible() && QSystemTrayIcon::isSystemTrayAvailable(); }

void Tray::setShown(bool isShown) {
  if (isShown && text_.isEmpty()) show({"–", "Tarvel"});
  icon_.setVisible(isShown);
}

void Tray::show(const TrayReading& reading) {
  const QString line = "Tarvel: " + reading.line;
  if (icon_.toolTip() != line) icon_.setToolTip(line);
  if (text_ == reading.text) return;
  text_ = reading.text;
  icon_.setIcon(badge(text_));
}

void Tray::notify(const QString& title, const QString& text) {
  if (isThere() && QSystemTrayIcon::supportsMessages()) {
    icon_.showMessage(title, text, QSystemTrayIcon::Warning);
    return;
  }
  const auto child =
      spawnProgram("notify-send", {"--app-name=Tarvel", title.toStdString(), text.toStdString()});
  // Its bus may hang, the window may not.
  if (child) std::thread([pid = *child] { waitForProgram(pid); }).detach();
}

}  // namespace tarvel::viewer
