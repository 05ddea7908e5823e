#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/property_list.h"

// The objects of a binary property list that may come from anybody, read in place.
//
// Nothing is believed unchecked: every object that is handed out lies wholly between the header and
// the offset table. What references mean as a whole (cycles, shared parts) is for the caller to
// bound, with an ExpansionBudget. The reader refers to the bytes, which must outlive it.

namespace tarvel {

// The number that the bytes spell, the most significant first; width is 8 at most.
inline std::uint64_t bigEndianNumber(const std::uint8_t* at, std::size_t width) {
  if (width == 1) return at[0];  // nearly all numbers are this or that wide
  if (width == 2) return static_cast<std::uint64_t>(at[0] << 8 | at[1]);
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < width; ++i) number = number << 8 | at[i];
  return number;
}

// What a caller may still build from one file: shared parts can stand for far more than the bytes
// that spell them.
class ExpansionBudget {
 public:
  explicit ExpansionBudget(std::size_t fileSize) : left_(fileSize + kAllowance) {}

  // Whether that many objects and bytes are still allowed; they are then used up.
  bool spend(std::size_t objects, std::size_t bytes = 0) {
    if (bytes > left_ || objects > (left_ - bytes) / sizeof(PropertyList)) return false;
    left_ -= bytes + objects * sizeof(PropertyList);
    return true;
  }

 private:
  static constexpr std::size_t kAllowance = std::size_t{64} << 20;

  std::size_t left_;
};

class BinaryObjectReader {
 public:
  enum class Kind { boolean, integer, real, date, data, ascii, utf16, uid, array, dictionary };

  struct Object {
    Kind kind;
    std::size_t count;         // bytes, characters or 16-bit units, elements, pairs
    const std::uint8_t* body;  // the first byte after marker and count
    std::uint64_t bits;        // the value of a boolean, integer, real, date or UID
  };

  // None when header or trailer do not fit the bytes.
  static std::optional<BinaryObjectReader> open(std::span<const std::uint8_t> bytes);

  std::size_t top() const { return top_; }

  // The object with this index; none when there is none, or when it is cut off or of no known kind.
  std::optional<Object> object(std::size_t index) const;

  // The n-th reference of an array or dictionary (keys, then values), n below its count of them.
  std::size_t reference(const Object& container, std::size_t n) const {
    return bigEndianNumber(container.body + n * referenceWidth_, referenceWidth_);
  }

  // Sets the text, which is empty, to that of an object of kind ascii or utf16; false when it is of
  // another kind or not Unicode.
  static bool text(const Object& object, std::string& text);

  // Sets the value to that of an object that is neither container nor UID; false when it has none.
  static bool scalar(const Object& object, PropertyList::Value& value);

  // What a scalar occupies in memory beside its node.
  static std::size_t size(const Object& object);

 private:
  BinaryObjectReader() = default;

  std::optional<Object> sized(Kind kind, std::uint8_t nibble, const std::uint8_t* at,
                              std::size_t unit) const;
  std::optional<Object> number(Kind kind, std::uint8_t nibble, const std::uint8_t* at) const;

  std::span<const std::uint8_t> objects_;  // from the header to the table
  const std::uint8_t* table_ = nullptr;
  std::size_t offsetWidth_ = 0;
  std::size_t referenceWidth_ = 0;
  std::size_t count_ = 0;
  std::size_t top_ = 0;
};

}  // namespace tarvel
