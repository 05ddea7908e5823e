#include "programs/window/icons.h"

#include <QApplication>
#include <QFileInfo>
#include <QImageReader>
#include <QLocale>
#include <QScreen>
#include <QStandardPaths>
#include <QStyle>
#include <algorithm>
#include <utility>

#include "platform/host/files/small_file.h"

namespace tarvel::viewer {
namespace {

constexpr int kPoints = 24;  // the largest icon that is shown
constexpr int kLargestSide = 1024;
constexpr qint64 kLargestFile = 4 << 20;
constexpr std::size_t kLargestEntry = 256 << 10;
constexpr int kMostPages = 16;

QIcon genericIcon() {
  const QIcon themed = QIcon::fromTheme("application-x-executable");
  return themed.isNull() ? QApplication::style()->standardIcon(QStyle::SP_FileIcon) : themed;
}

bool isAllowed(QSize size) {
  return !size.isEmpty() && size.width() <= kLargestSide && size.height() <= kLargestSide;
}

// Names of applications may hold slashes; a file's may not.
bool isFileName(const QString& name) { return !name.isEmpty() && !name.contains('/'); }

}  // namespace

// The size is known from the file's head, before anything is decoded.
QImage readIcon(const QString& path, int side) {
  const QFileInfo file(path);
  if (!file.isFile() || file.size() > kLargestFile) return {};
  QImageReader reader(path, "tiff");
  reader.setAutoDetectImageFormat(false);
  int best = -1;
  QSize bestSize;
  const int pages = std::min(reader.imageCount(), kMostPages);
  for (int page = 0; page < pages; ++page) {
    if (page > 0 && !reader.jumpToImage(page)) break;
    const QSize size = reader.size();
    if (!isAllowed(size)) continue;
    const bool isCloser = bestSize.width() < side
                              ? size.width() > bestSize.width()
                              : size.width() >= side && size.width() < bestSize.width();
    if (best >= 0 && !isCloser) continue;
    best = page;
    bestSize = size;
  }
  if (best < 0) return {};
  QImageReader chosen(path, "tiff");
  chosen.setAutoDetectImageFormat(false);
  if (best > 0 && !chosen.jumpToImage(best)) return {};
  return chosen.read();
}

ApplicationIcons::ApplicationIcons(QString folder)
    : folder_(std::move(folder)), generic_(genericIcon()) {}

QIcon ApplicationIcons::of(const QString& application) {
  if (!isFileName(application)) return generic_;
  Entry& entry = entries_[application];
  if (std::exchange(entry.refresh, refresh_) == refresh_) return entry.icon;
  const QString path = folder_ + application + ".tiff";
  const QFileInfo file(path);
  const qint64 changed = file.exists() ? file.lastModified().toMSecsSinceEpoch() : 0;
  if (!entry.icon.isNull() && changed == entry.changed) return entry.icon;
  entry.changed = changed;
  const double ratio = qApp->devicePixelRatio();
  const int side = static_cast<int>(kPoints * ratio);
  QImage image = readIcon(path, side);
  if (image.width() > side || image.height() > side) {
    image = image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  }
  image.setDevicePixelRatio(ratio);
  entry.icon = image.isNull() ? generic_ : QIcon(QPixmap::fromImage(std::move(image)));
  return entry.icon;
}

QString ApplicationIcons::nameOf(const QString& application) {
  const auto known = names_.find(application);
  if (known != names_.end()) return known->second;
  QString name;
  if (isFileName(application)) {
    const QString path =
        QStandardPaths::locate(QStandardPaths::ApplicationsLocation, application + ".desktop");
    const auto text =
        path.isEmpty() ? std::nullopt : readSmallFile(path.toStdString(), kLargestEntry);
    if (text) name = desktopEntryName(QString::fromStdString(*text), QLocale().name());
  }
  if (name.isEmpty()) name = application.section('.', -1);
  if (name.isEmpty()) name = application;
  names_[application] = name;
  return name;
}

QString desktopEntryName(const QString& text, const QString& locale) {
  const QString language = locale.section('_', 0, 0);
  QString plain;
  QString inLanguage;
  bool isInEntry = false;
  for (const auto& line : QStringView(text).split('\n')) {
    const auto trimmed = line.trimmed();
    if (trimmed.startsWith('[')) isInEntry = trimmed == u"[Desktop Entry]";
    const auto split = trimmed.indexOf('=');
    if (!isInEntry || split < 0) continue;
    const auto key = trimmed.left(split).trimmed();
    const QString value = trimmed.mid(split + 1).trimmed().toString();
    if (key == QString("Name[" + locale + "]")) return value;
    if (key == QString("Name[" + language + "]")) inLanguage = value;
    if (key == u"Name") plain = value;
  }
  return inLanguage.isEmpty() ? plain : inLanguage;
}

}  // namespace tarvel::viewer
