#include "platform/host/property_lists/binary_object_writer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <string>
#include <utility>

#include "text/utf8.h"

namespace tarvel {
namespace {

constexpr std::string_view kHeader = "bplist00";
constexpr char32_t kReplacement = 0xFFFD;

// How many bytes hold the number: 1, 2, 4 or 8.
std::size_t widthOf(std::uint64_t number) {
  if (number <= 0xFF) return 1;
  if (number <= 0xFFFF) return 2;
  return number <= 0xFFFFFFFF ? 4 : 8;
}

// The width as markers spell it: its power of two.
std::uint8_t widthCode(std::size_t width) {
  return static_cast<std::uint8_t>(std::countr_zero(width));
}

bool isASCII(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<signed char>(c) >= 0; });
}

// The value of one well-formed UTF-8 character.
char32_t scalar(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character.front());
  constexpr std::array<unsigned, 5> kLeadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t value = lead & kLeadBits.at(character.size());
  for (const char c : character.substr(1))
    value = value << 6 | (static_cast<unsigned char>(c) & 0x3F);
  return value;
}

}  // namespace

BinaryObjectWriter::BinaryObjectWriter(std::size_t objectCount)
    : objectCount_(objectCount), referenceWidth_(widthOf(objectCount)) {
  constexpr std::size_t kUsualObject = 8;
  out_.reserve(objectCount * (kUsualObject + referenceWidth_) + 64);
  offsets_.reserve(objectCount);
  bytes(kHeader);
}

void BinaryObjectWriter::boolean(bool flag) { begin(flag ? 0x09 : 0x08); }

void BinaryObjectWriter::integer(std::int64_t number) {
  const std::size_t width = number < 0 ? 8 : widthOf(static_cast<std::uint64_t>(number));
  begin(0x10 | widthCode(width));
  bigEndian(static_cast<std::uint64_t>(number), width);
}

void BinaryObjectWriter::real(double number) {
  begin(0x23);
  bigEndian(std::bit_cast<std::uint64_t>(number), 8);
}

void BinaryObjectWriter::data(const Data& raw) {
  beginCounted(0x40, raw.size());
  out_.insert(out_.end(), raw.begin(), raw.end());
}

void BinaryObjectWriter::text(std::string_view utf8) {
  if (!isASCII(utf8)) return utf16(utf8);
  beginCounted(0x50, utf8.size());
  bytes(utf8);
}

void BinaryObjectWriter::uid(std::size_t number) {
  const std::size_t width = widthOf(number);
  begin(static_cast<std::uint8_t>(0x80 | (width - 1)));
  bigEndian(number, width);
}

void BinaryObjectWriter::array(std::size_t count) { beginCounted(0xA0, count); }

void BinaryObjectWriter::dictionary(std::size_t count) { beginCounted(0xD0, count); }

void BinaryObjectWriter::reference(std::size_t index) { bigEndian(index, referenceWidth_); }

std::size_t BinaryObjectWriter::placeholders(std::size_t count) {
  out_.resize(out_.size() + count * referenceWidth_);
  return out_.size() - count * referenceWidth_;
}

void BinaryObjectWriter::fill(std::size_t placeholders, std::size_t n, std::size_t index) {
  std::size_t at = placeholders + n * referenceWidth_;
  for (std::size_t left = referenceWidth_; left > 0; --left) {
    out_[at++] = static_cast<std::uint8_t>(index >> (8 * (left - 1)));
  }
}

Data BinaryObjectWriter::finish() && {
  assert(offsets_.size() == objectCount_);
  const std::size_t table = out_.size();
  const std::size_t offsetWidth = widthOf(table);
  for (const std::size_t offset : offsets_) bigEndian(offset, offsetWidth);
  bigEndian(0, 6);
  bigEndian(offsetWidth, 1);
  bigEndian(referenceWidth_, 1);
  bigEndian(objectCount_, 8);
  bigEndian(0, 8);
  bigEndian(table, 8);
  return std::move(out_);
}

void BinaryObjectWriter::begin(std::uint8_t marker) {
  offsets_.push_back(out_.size());
  out_.push_back(marker);
}

// The marker with the count in it, or with 15 and the count as an integer after it.
void BinaryObjectWriter::beginCounted(std::uint8_t kind, std::size_t count) {
  if (count < 15) return begin(static_cast<std::uint8_t>(kind | count));
  begin(kind | 0x0F);
  const std::size_t width = widthOf(count);
  out_.push_back(0x10 | widthCode(width));
  bigEndian(count, width);
}

void BinaryObjectWriter::bigEndian(std::uint64_t number, std::size_t width) {
  for (std::size_t left = width; left > 0; --left) {
    out_.push_back(static_cast<std::uint8_t>(number >> (8 * (left - 1))));
  }
}

void BinaryObjectWriter::bytes(std::string_view raw) {
  out_.insert(out_.end(), raw.begin(), raw.end());
}

void BinaryObjectWriter::utf16(std::string_view utf8) {
  std::u16string units;
  while (!utf8.empty()) {
    const std::size_t length = utf8Length(utf8);
    const char32_t value = length == 0 ? kReplacement : scalar(utf8.substr(0, length));
    if (value < 0x10000) {
      units.push_back(static_cast<char16_t>(value));
    } else {
      units.push_back(static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10)));
      units.push_back(static_cast<char16_t>(0xDC00 + ((value - 0x10000) & 0x3FF)));
    }
    utf8.remove_prefix(std::max<std::size_t>(length, 1));
  }
  beginCounted(0x60, units.size());
  for (const char16_t unit : units) bigEndian(unit, 2);
}

}  // namespace tarvel
