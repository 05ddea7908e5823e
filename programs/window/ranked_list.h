#pragma once

#include <QIcon>
#include <QString>
#include <QWidget>
#include <vector>

#include "viewer/display_rows.h"

namespace tarvel::viewer {

// A few lines with a bar each in a card; as many as fit.
class RankedList : public QWidget {
 public:
  struct Item {
    QIcon icon;  // null: none
    QString name;
    QString value;
    double share = 0;  // of a full bar, 0 to 1
    Level level = Level::kNormal;

    bool operator==(const Item& other) const;
  };

  explicit RankedList(const QString& title, QWidget* parent = nullptr);

  // Without items it tells why.
  void show(std::vector<Item> items, const QString& whyEmpty);
  const std::vector<Item>& items() const { return items_; }

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  int lineHeight() const;
  void paintItem(QPainter& painter, QRect line, const Item& item) const;

  QString title_;
  std::vector<Item> items_;
  QString whyEmpty_;
};

}  // namespace tarvel::viewer
