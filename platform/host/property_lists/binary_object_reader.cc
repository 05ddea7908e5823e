#include "platform/host/property_lists/binary_object_reader.h"

#include <algorithm>
#include <bit>
#include <string_view>

namespace tarvel {
namespace {

constexpr std::string_view kHeader = "bplist00";
constexpr std::size_t kTrailer = 32;
constexpr std::size_t kWidest = 8;

// An integer of 16 bytes, where it fits 64 bits.
std::optional<std::uint64_t> narrowed(const std::uint8_t* at) {
  const std::uint64_t high = bigEndianNumber(at, 8);
  const std::uint64_t low = bigEndianNumber(at + 8, 8);
  const bool negative = (low >> 63) != 0;
  if (high != (negative ? ~std::uint64_t{0} : 0)) return std::nullopt;
  return low;
}

void appendUTF8(char32_t value, std::string& text) {
  const auto put = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (value < 0x80) return put(value);
  if (value < 0x800) {
    put(0xC0 | value >> 6);
  } else if (value < 0x10000) {
    put(0xE0 | value >> 12);
    put(0x80 | (value >> 6 & 0x3F));
  } else {
    put(0xF0 | value >> 18);
    put(0x80 | (value >> 12 & 0x3F));
    put(0x80 | (value >> 6 & 0x3F));
  }
  put(0x80 | (value & 0x3F));
}

bool fromUTF16(const std::uint8_t* at, std::size_t units, std::string& text) {
  text.reserve(units);
  for (std::size_t i = 0; i < units; ++i) {
    auto value = static_cast<char32_t>(bigEndianNumber(at + 2 * i, 2));
    if (value >= 0xD800 && value <= 0xDFFF) {
      if (value > 0xDBFF || ++i == units) return false;
      const auto low = static_cast<char32_t>(bigEndianNumber(at + 2 * i, 2));
      if (low < 0xDC00 || low > 0xDFFF) return false;
      value = 0x10000 + ((value - 0xD800) << 10) + (low - 0xDC00);
    }
    appendUTF8(value, text);
  }
  return true;
}

bool isASCII(std::string_view text) {
  unsigned char all = 0;
  for (const char c : text) all |= static_cast<unsigned char>(c);
  return all < 0x80;
}

}  // namespace

std::optional<BinaryObjectReader> BinaryObjectReader::open(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kHeader.size() + kTrailer) return std::nullopt;
  if (!std::equal(kHeader.begin(), kHeader.end(), bytes.begin())) return std::nullopt;
  const std::uint8_t* const trailer = bytes.data() + bytes.size() - kTrailer;
  BinaryObjectReader reader;
  reader.offsetWidth_ = trailer[6];
  reader.referenceWidth_ = trailer[7];
  reader.count_ = bigEndianNumber(trailer + 8, 8);
  reader.top_ = bigEndianNumber(trailer + 16, 8);
  const std::size_t table = bigEndianNumber(trailer + 24, 8);
  const auto isWidth = [](std::size_t width) { return width >= 1 && width <= kWidest; };
  if (!isWidth(reader.offsetWidth_) || !isWidth(reader.referenceWidth_)) return std::nullopt;
  if (table < kHeader.size() || table > bytes.size() - kTrailer) return std::nullopt;
  if (reader.count_ > (bytes.size() - kTrailer - table) / reader.offsetWidth_) return std::nullopt;
  reader.objects_ = bytes.first(table).subspan(kHeader.size());
  reader.table_ = bytes.data() + table;
  return reader;
}

std::optional<BinaryObjectReader::Object> BinaryObjectReader::object(std::size_t index) const {
  if (index >= count_) return std::nullopt;
  const std::size_t offset = bigEndianNumber(table_ + index * offsetWidth_, offsetWidth_);
  if (offset < kHeader.size() || offset - kHeader.size() >= objects_.size()) return std::nullopt;
  const std::uint8_t* const at = objects_.data() + (offset - kHeader.size());
  const std::uint8_t marker = *at;
  const std::uint8_t nibble = marker & 0x0F;
  // The two kinds that nearly all of an archive consists of, short of the jump.
  if (marker >> 4 == 0x8) return number(Kind::uid, nibble, at + 1);
  if (marker >> 4 == 0x5) return sized(Kind::ascii, nibble, at + 1, 1);
  switch (marker >> 4) {
    case 0x0:
      if (marker != 0x08 && marker != 0x09) return std::nullopt;
      return Object{Kind::boolean, 0, at + 1, marker == 0x09 ? 1U : 0U};
    case 0x1:
      return number(Kind::integer, nibble, at + 1);
    case 0x2:
      return number(Kind::real, nibble, at + 1);
    case 0x3:
      return number(Kind::date, nibble, at + 1);
    case 0x4:
      return sized(Kind::data, nibble, at + 1, 1);
    case 0x6:
      return sized(Kind::utf16, nibble, at + 1, 2);
    case 0xA:
      return sized(Kind::array, nibble, at + 1, referenceWidth_);
    case 0xD:
      return sized(Kind::dictionary, nibble, at + 1, 2 * referenceWidth_);
    default:
      return std::nullopt;
  }
}

bool BinaryObjectReader::text(const Object& object, std::string& text) {
  if (object.kind == Kind::utf16) return fromUTF16(object.body, object.count, text);
  if (object.kind != Kind::ascii) return false;
  text.assign(reinterpret_cast<const char*>(object.body), object.count);
  return isASCII(text);
}

bool BinaryObjectReader::scalar(const Object& object, PropertyList::Value& value) {
  switch (object.kind) {
    case Kind::boolean:
      value = object.bits != 0;
      return true;
    case Kind::integer:
      value = static_cast<std::int64_t>(object.bits);
      return true;
    case Kind::real:
    case Kind::date:
      value = std::bit_cast<double>(object.bits);
      return true;
    case Kind::data:
      value.emplace<Data>(object.body, object.body + object.count);
      return true;
    case Kind::ascii:
    case Kind::utf16:
      return text(object, value.emplace<std::string>());
    case Kind::uid:
    case Kind::array:
    case Kind::dictionary:
      break;
  }
  return false;
}

std::size_t BinaryObjectReader::size(const Object& object) {
  if (object.kind == Kind::utf16) return 3 * object.count;
  return object.kind == Kind::data || object.kind == Kind::ascii ? object.count : 0;
}

// An object whose marker tells its count, in the nibble or (15) in an integer that follows.
std::optional<BinaryObjectReader::Object> BinaryObjectReader::sized(Kind kind, std::uint8_t nibble,
                                                                    const std::uint8_t* at,
                                                                    std::size_t unit) const {
  std::size_t count = nibble;
  const std::uint8_t* const end = objects_.data() + objects_.size();
  if (nibble == 0x0F) {
    if (at == end || *at >> 4 != 0x1) return std::nullopt;
    const auto counted = number(Kind::integer, *at & 0x0F, at + 1);
    if (!counted) return std::nullopt;
    count = counted->bits;
    at = counted->body + counted->count;
  }
  if (count > static_cast<std::size_t>(end - at) / unit) return std::nullopt;
  return Object{kind, count, at, 0};
}

// An object that is one number, as wide as the nibble tells; its count is that width.
std::optional<BinaryObjectReader::Object> BinaryObjectReader::number(Kind kind, std::uint8_t nibble,
                                                                     const std::uint8_t* at) const {
  const std::size_t width = kind == Kind::uid ? nibble + std::size_t{1} : std::size_t{1} << nibble;
  if (width > static_cast<std::size_t>(objects_.data() + objects_.size() - at)) return std::nullopt;
  if (kind == Kind::integer && width == 16) {
    const auto bits = narrowed(at);
    if (!bits) return std::nullopt;
    return Object{kind, width, at, *bits};
  }
  if (width > kWidest) return std::nullopt;
  std::uint64_t bits = bigEndianNumber(at, width);
  if (kind == Kind::real || kind == Kind::date) {
    if (width != 4 && width != 8) return std::nullopt;
    if (width == 4) {
      const auto single = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
      bits = std::bit_cast<std::uint64_t>(static_cast<double>(single));
    }
  }
  return Object{kind, width, at, bits};
}

}  // namespace tarvel
