#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/property_list.h"

// The objects of a binary property list, put down one after another.
//
// An object's index is its place in the order of writing. A container begins with its count and is
// followed by that many references (a dictionary: keys, then values); the objects that they mean
// are written later or were written before. The layout: "bplist00", the objects, the table of their
// offsets, a trailer of 32 bytes that says how wide offsets and references are; all big-endian.

namespace tarvel {

class BinaryObjectWriter {
 public:
  // The number of objects must be known beforehand: it decides how wide a reference is.
  explicit BinaryObjectWriter(std::size_t objectCount);

  void boolean(bool flag);
  void integer(std::int64_t number);
  void real(double number);
  void data(const Data& bytes);
  void text(std::string_view utf8);  // bytes that are not UTF-8 become U+FFFD
  void uid(std::size_t number);
  void array(std::size_t count);
  void dictionary(std::size_t count);
  void reference(std::size_t index);

  // References that are filled in later, and the filling in of the n-th of them.
  std::size_t placeholders(std::size_t count);
  void fill(std::size_t placeholders, std::size_t n, std::size_t index);

  std::size_t written() const { return offsets_.size(); }  // the index of the next object

  // The whole property list; object 0 is its top. All announced objects have been written.
  Data finish() &&;

 private:
  void begin(std::uint8_t marker);
  void beginCounted(std::uint8_t kind, std::size_t count);
  void bigEndian(std::uint64_t number, std::size_t width);
  void bytes(std::string_view raw);
  void utf16(std::string_view utf8);

  std::size_t objectCount_;
  std::size_t referenceWidth_;
  Data out_;
  std::vector<std::size_t> offsets_;
};

}  // namespace tarvel
