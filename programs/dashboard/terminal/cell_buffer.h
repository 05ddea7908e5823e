#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// A picture of a terminal: what stands in each of its cells.

namespace tarvel::viewer {

// Four bytes, since two pictures are kept of a screen that may have ten thousand cells.
struct Cell {
  std::uint32_t character : 24 = U' ';  // 0: the right half of a character two cells wide
  std::uint32_t style : 8 = 0;          // an index of the caller's
  bool operator==(const Cell&) const = default;
};

class CellBuffer {
 public:
  CellBuffer() = default;
  CellBuffer(int height, int width);

  int height() const { return height_; }
  int width() const { return width_; }
  const Cell& at(int row, int column) const { return cells_[index(row, column)]; }

  void erase();

  // Puts a text (UTF-8) at a place, cut to `width` cells and to the edges of the picture. A
  // character is as wide as the C library says for the current locale (wcwidth(3)); those of no
  // width are left out, those that it does not know become "?". Returns how many cells it took.
  int put(int row, int column, int width, std::string_view text, std::uint8_t style);

 private:
  std::size_t index(int row, int column) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width_) +
           static_cast<std::size_t>(column);
  }
  void set(int row, int column, std::uint32_t character, std::uint8_t style);
  void clearHalves(int row, int column, int cells);

  int height_ = 0;
  int width_ = 0;
  std::vector<Cell> cells_;
};

}  // namespace tarvel::viewer
