#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>

// What the readings were: the latest values of each row, and the least and the largest since the
// dashboard began.

namespace tarvel::viewer {

class Series {
 public:
  static constexpr std::size_t kLength = 40;

  void add(double value);

  std::size_t size() const { return count_; }
  double at(std::size_t index) const {
    return values_[(first_ + index) % kLength];
  }  // 0: the oldest
  double minimum() const { return least_; }
  double maximum() const { return most_; }

 private:
  std::array<double, kLength> values_{};
  std::size_t first_ = 0;
  std::size_t count_ = 0;
  double least_ = 0;
  double most_ = 0;
};

// The series of the rows of all panels. A row that has not come for as long as a series remembers
// is forgotten.
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
