#include "programs/dashboard/terminal/cell_buffer.h"

#include <algorithm>
#include <cwchar>

#include "text/utf8.h"

namespace tarvel::viewer {
namespace {

constexpr std::uint32_t kRightHalf = 0;

struct Glyph {
  std::uint32_t character = U'?';
  int cells = 1;
};

Glyph glyphOf(std::string_view character) {
  if (character.empty()) return {};
  const std::uint32_t code = codePoint(character);
  if (code >= U' ' && code <= U'~') return {code, 1};
  const int cells = ::wcwidth(static_cast<wchar_t>(code));
  return cells < 0 ? Glyph() : Glyph{code, cells};
}

}  // namespace

CellBuffer::CellBuffer(int height, int width)
    : height_(std::max(height, 0)), width_(std::max(width, 0)) {
  cells_.resize(index(height_, 0));
}

void CellBuffer::erase() { std::ranges::fill(cells_, Cell()); }

int CellBuffer::put(int row, int column, int width, std::string_view text, std::uint8_t style) {
  const bool isInside = row >= 0 && row < height_ && column >= 0;
  int taken = 0;
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    const Glyph glyph = glyphOf(text.substr(0, length));
    text.remove_prefix(std::max<std::size_t>(length, 1));
    if (glyph.cells == 0) continue;
    if (taken + glyph.cells > width) break;
    const int place = column + taken;
    taken += glyph.cells;
    if (!isInside || place + glyph.cells > width_) continue;
    clearHalves(row, place, glyph.cells);
    set(row, place, glyph.character, style);
    if (glyph.cells == 2) set(row, place + 1, kRightHalf, style);
  }
  return taken;
}

void CellBuffer::set(int row, int column, std::uint32_t character, std::uint8_t style) {
  Cell& cell = cells_[index(row, column)];
  cell.character = character & 0xFFFFFF;
  cell.style = style;
}

// What is written over one half of a wide character leaves a space in the other.
void CellBuffer::clearHalves(int row, int column, int cells) {
  const int after = column + cells;
  if (at(row, column).character == kRightHalf && column > 0) {
    set(row, column - 1, U' ', static_cast<std::uint8_t>(at(row, column - 1).style));
  }
  if (after < width_ && at(row, after).character == kRightHalf) {
    set(row, after, U' ', static_cast<std::uint8_t>(at(row, after).style));
  }
}

}  // namespace tarvel::viewer
