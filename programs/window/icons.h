#pragma once

#include <QIcon>
#include <QString>
#include <cstdint>
#include <map>

// Icons and names of applications, by the identifiers that process records carry. One thread.

namespace tarvel::viewer {

class ApplicationIcons {
 public:
  // The folder of the TIFF files that the helper draws, ending in "/".
  explicit ApplicationIcons(QString folder);

  // The application's icon; the desktop's generic one where there is no file, or a file that is no
  // TIFF picture of at most 1024 pixels a side and 4 MB. Files are looked at anew after
  // beginRefresh().
  QIcon of(const QString& application);
  void beginRefresh() { ++refresh_; }

  // The Name of the application's desktop entry in the user's language; without an entry the last
  // part of the identifier.
  QString nameOf(const QString& application);

 private:
  struct Entry {
    qint64 changed = 0;  // when, in ms since 1970; 0: no file
    std::uint64_t refresh = 0;
    QIcon icon;
  };

  QString folder_;
  QIcon generic_;
  std::map<QString, Entry> entries_;
  std::map<QString, QString> names_;
  std::uint64_t refresh_ = 1;
};

// The picture of a TIFF file that is the smallest of at least this side in pixels; null for a file
// that is refused.
QImage readIcon(const QString& path, int side);

// The Name in the text of a desktop entry (Desktop Entry Specification, 1.5, "Localized values")
// for a locale such as "de_AT"; empty without one.
QString desktopEntryName(const QString& text, const QString& locale);

}  // namespace tarvel::viewer
