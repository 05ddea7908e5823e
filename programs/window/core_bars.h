#pragma once

#include <QWidget>
#include <vector>

namespace tarvel::viewer {

// How busy each processor is, side by side.
class CoreBars : public QWidget {
 public:
  explicit CoreBars(QWidget* parent = nullptr);

  void show(const std::vector<double>& shares);

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::vector<double> shares_;
};

}  // namespace tarvel::viewer
