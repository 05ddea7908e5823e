#include "programs/dashboard/terminal/repaint.h"

#include <cstdint>

namespace tarvel::viewer {
namespace {

constexpr int kNowhere = -1;

void appendUTF8(std::string& text, std::uint32_t code) {
  const auto tail = [&](unsigned shift) {
    text += static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
  };
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0U | code >> 6U);
    tail(0);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0U | code >> 12U);
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0U | code >> 18U);
    tail(12);
    tail(6);
    tail(0);
  }
}

class Painter {
 public:
  Painter(const TerminalCodes& codes, std::span<const std::string> styles)
      : codes_(codes), styles_(styles) {}

  void paint(int row, int column, const Cell& cell, bool isWide) {
    if (row != row_ || column != column_) text_ += codes_.placeAt(row, column);
    setStyle(cell.style);
    appendUTF8(text_, cell.character);
    row_ = row;
    // Terminals do not all agree on which characters are wide.
    column_ = isWide ? kNowhere : column + 1;
  }

  std::string finish() {
    setStyle(kPlain);
    return std::move(text_);
  }

 private:
  static constexpr std::uint32_t kPlain = 0;

  void setStyle(std::uint32_t style) {
    if (style == style_) return;
    if (style_ != kPlain) text_ += codes_.plain;
    if (style != kPlain) text_ += styles_[style];
    style_ = style;
  }

  const TerminalCodes& codes_;
  std::span<const std::string> styles_;
  std::string text_;
  int row_ = kNowhere;
  int column_ = kNowhere;
  std::uint32_t style_ = kPlain;
};

}  // namespace

std::string repaint(const CellBuffer& shown, const CellBuffer& next, const TerminalCodes& codes,
                    std::span<const std::string> styles) {
  Painter painter(codes, styles);
  for (int row = 0; row < next.height(); ++row) {
    for (int column = 0; column < next.width(); ++column) {
      const Cell& cell = next.at(row, column);
      const bool isLast = row + 1 == next.height() && column + 1 == next.width();
      const bool isWide = column + 1 < next.width() && next.at(row, column + 1).character == 0;
      const bool isSame = cell == shown.at(row, column) &&
                          (!isWide || next.at(row, column + 1) == shown.at(row, column + 1));
      if (isSame || cell.character == 0 || (isLast && !codes.fillsLastCell)) continue;
      painter.paint(row, column, cell, isWide);
    }
  }
  return painter.finish();
}

}  // namespace tarvel::viewer
