#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>

// What the readings were: the values of the last ten minutes of each row, and the least and the
// largest since the viewer began.

namespace tarvel::viewer {

class Series {
 public:
  static constexpr std::size_t kLength = 200;  // ten minutes of the helper's cycles

  void add(double value);

  std::size_t size() const { return count_; }
  double at(std::size_t index) const {  // 0: the oldest
    return static_cast<double>(values_[(first_ + index) % kLength]);
  }
  double minimum() const { return least_; }
  double maximum() const { return most_; }

 private:
  std::array<float, kLength> values_{};  // half the memory, and more digits than a graph shows
  std::size_t first_ = 0;
  std::size_t count_ = 0;
  double least_ = 0;
  double most_ = 0;
};

// The series of the rows of all panels. A row that has not come for two minutes is forgotten.
class History {
 public:
  void add(const std::string& row, double value);

  // To be called when all rows of a refresh were added.
  void endRefresh();

  const Series* of(std::string_view row) const;

 private:
  struct Row {
    Series series;
    std::size_t lastRefresh = 0;
  };

  std::map<std::string, Row, std::less<>> rows_;
  std::size_t refresh_ = 0;
};

}  // namespace tarvel::viewer
