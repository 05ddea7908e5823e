#include "platform/host/property_lists/property_list_format.h"

#include <utility>
#include <vector>

#include "platform/host/property_lists/binary_object_reader.h"
#include "platform/host/property_lists/binary_object_writer.h"

namespace tarvel {
namespace {

// Writes a tree in pre-order. What stands between a container and its n-th child is known from the
// extents: how many objects each subtree is made of, in the same order.
class Encoder {
 public:
  // Whether the tree may be written at all.
  bool measure(const PropertyList& value, std::size_t depth = 0) {
    const std::size_t self = extents_.size();
    extents_.push_back(0);
    if (const auto* array = value.as<Array>()) {
      if (depth == kPropertyListDepth) return false;
      for (const PropertyList& element : *array) {
        if (!measure(element, depth + 1)) return false;
      }
    } else if (const auto* dictionary = value.as<Dictionary>()) {
      if (depth == kPropertyListDepth) return false;
      extents_.resize(extents_.size() + dictionary->size(), 1);  // the keys
      for (const auto& [key, element] : *dictionary) {
        if (!measure(element, depth + 1)) return false;
      }
    }
    extents_[self] = extents_.size() - self;
    return true;
  }

  Data write(const PropertyList& value) && {
    BinaryObjectWriter writer(extents_.size());
    write(value, writer);
    return std::move(writer).finish();
  }

 private:
  void write(const PropertyList& value, BinaryObjectWriter& out) {
    const std::size_t self = next_++;
    if (const auto* text = value.as<std::string>()) return out.text(*text);
    if (const auto* flag = value.as<bool>()) return out.boolean(*flag);
    if (const auto* number = value.as<std::int64_t>()) return out.integer(*number);
    if (const auto* number = value.as<double>()) return out.real(*number);
    if (const auto* data = value.as<Data>()) return out.data(*data);
    if (const auto* array = value.as<Array>()) {
      out.array(array->size());
      references(self + 1, array->size(), out);
      for (const PropertyList& element : *array) write(element, out);
    } else if (const auto* dictionary = value.as<Dictionary>()) {
      const std::size_t count = dictionary->size();
      out.dictionary(count);
      references(self + 1, 2 * count, out);
      for (const auto& [key, element] : *dictionary) out.text(key);
      next_ += count;
      for (const auto& [key, element] : *dictionary) write(element, out);
    }
  }

  void references(std::size_t index, std::size_t count, BinaryObjectWriter& out) const {
    for (; count > 0; --count) {
      out.reference(index);
      if (count > 1) index += extents_[index];
    }
  }

  std::vector<std::size_t> extents_;
  std::size_t next_ = 0;
};

class Decoder {
 public:
  explicit Decoder(const BinaryObjectReader& reader, std::size_t fileSize)
      : reader_(reader), budget_(fileSize) {}

  bool read(std::size_t index, std::size_t depth, PropertyList& value) {
    const auto object = reader_.object(index);
    if (!object) return false;
    if (object->kind == BinaryObjectReader::Kind::array) return readArray(*object, depth, value);
    if (object->kind == BinaryObjectReader::Kind::dictionary) {
      return readDictionary(*object, depth, value);
    }
    return budget_.spend(0, BinaryObjectReader::size(*object)) &&
           BinaryObjectReader::scalar(*object, value.value);
  }

 private:
  bool readArray(const BinaryObjectReader::Object& object, std::size_t depth, PropertyList& value) {
    if (depth == kPropertyListDepth || !budget_.spend(object.count)) return false;
    Array& array = value.value.emplace<Array>(object.count);
    for (std::size_t i = 0; i < object.count; ++i) {
      if (!read(reader_.reference(object, i), depth + 1, array[i])) return false;
    }
    return true;
  }

  bool readDictionary(const BinaryObjectReader::Object& object, std::size_t depth,
                      PropertyList& value) {
    if (depth == kPropertyListDepth || !budget_.spend(3 * object.count)) return false;
    Dictionary& dictionary = value.value.emplace<Dictionary>();
    for (std::size_t i = 0; i < object.count; ++i) {
      const auto key = reader_.object(reader_.reference(object, i));
      if (!key || !budget_.spend(0, BinaryObjectReader::size(*key))) return false;
      std::string text;
      if (!BinaryObjectReader::text(*key, text)) return false;
      const auto [place, isNew] = dictionary.try_emplace(std::move(text));
      if (!isNew) return false;
      const std::size_t element = reader_.reference(object, object.count + i);
      if (!read(element, depth + 1, place->second)) return false;
    }
    return true;
  }

  const BinaryObjectReader& reader_;
  ExpansionBudget budget_;
};

}  // namespace

Data encode(const PropertyList& value) {
  Encoder encoder;
  if (!encoder.measure(value)) return {};
  return std::move(encoder).write(value);
}

std::optional<PropertyList> decode(std::span<const std::uint8_t> bytes) {
  const auto reader = BinaryObjectReader::open(bytes);
  PropertyList value;
  if (!reader || !Decoder(*reader, bytes.size()).read(reader->top(), 0, value)) return std::nullopt;
  return value;
}

}  // namespace tarvel
