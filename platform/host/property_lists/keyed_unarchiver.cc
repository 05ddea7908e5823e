#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "platform/host/property_lists/binary_object_reader.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/property_lists/property_list_format.h"
#include "product/version.h"

namespace tarvel {
namespace {

using Object = BinaryObjectReader::Object;
using Kind = BinaryObjectReader::Kind;

constexpr std::uint64_t kVersion = 100000;

// No record of ours has more members. Without a bound, one record that is referred to often could
// cost its size each time.
constexpr std::size_t kMostMembers = 16;

enum class Class { array, dictionary, text, data, date, unknown };

Class classNamed(std::string_view name) {
  if (name == "NSArray" || name == "NSMutableArray") return Class::array;
  if (name == "NSDictionary" || name == "NSMutableDictionary") return Class::dictionary;
  if (name == "NSString" || name == "NSMutableString") return Class::text;
  if (name == "NSData" || name == "NSMutableData") return Class::data;
  return name == "NSDate" ? Class::date : Class::unknown;
}

// A key of the format and where it was seen last: an archive spells each key once and refers to it.
struct Key {
  std::string_view text;
  std::size_t place = std::string_view::npos;
};

class Unarchiver {
 public:
  Unarchiver(const BinaryObjectReader& reader, std::size_t fileSize)
      : reader_(reader), budget_(fileSize) {}

  bool readRoot(PropertyList& value) {
    const auto top = dictionaryAt(reader_.top());
    if (!top) return false;
    const auto version = valueOf(*top, "$version");
    const auto archiver = valueOf(*top, "$archiver");
    const auto roots = valueOf(*top, "$top");
    const auto objects = valueOf(*top, "$objects");
    if (!version || version->kind != Kind::integer || version->bits != kVersion) return false;
    if (!archiver || !isText(*archiver, "NSKeyedArchiver")) return false;
    if (!roots || roots->kind != Kind::dictionary) return false;
    if (!objects || objects->kind != Kind::array) return false;
    objects_ = *objects;
    const auto root = valueOf(*roots, "root");
    return root && readUID(*root, 0, value);
  }

 private:
  static bool isText(const Object& object, std::string_view text) {
    return object.kind == Kind::ascii && object.count == text.size() &&
           std::memcmp(object.body, text.data(), text.size()) == 0;
  }

  std::optional<Object> dictionaryAt(std::size_t index) const {
    auto object = reader_.object(index);
    if (object && object->kind != Kind::dictionary) object.reset();
    return object;
  }

  // The value under the key, the first one where there are several.
  std::optional<Object> member(const Object& dictionary, Key& key) const {
    if (dictionary.count > kMostMembers) return std::nullopt;
    for (std::size_t i = 0; i < dictionary.count; ++i) {
      if (!isKey(reader_.reference(dictionary, i), key)) continue;
      return reader_.object(reader_.reference(dictionary, dictionary.count + i));
    }
    return std::nullopt;
  }

  bool isKey(std::size_t reference, Key& key) const {
    if (reference == key.place) return true;
    const auto name = reader_.object(reference);
    if (!name || !isText(*name, key.text)) return false;
    key.place = reference;
    return true;
  }

  std::optional<Object> valueOf(const Object& dictionary, std::string_view text) const {
    Key key{text};
    return member(dictionary, key);
  }

  // The object that a UID stands for. Number 0 is the absent object.
  std::optional<Object> referred(const Object& uid) const {
    if (uid.kind != Kind::uid || uid.bits == 0 || uid.bits >= objects_.count) return std::nullopt;
    return reader_.object(reader_.reference(objects_, uid.bits));
  }

  Class classOf(const Object& record) {
    const auto uid = member(record, class_);
    if (!uid || uid->kind != Kind::uid) return Class::unknown;
    if (uid->bits == latestClassNumber_) return latestClass_;  // neighbours are mostly of one class
    const auto description = referred(*uid);
    if (!description || description->kind != Kind::dictionary) return Class::unknown;
    const auto name = valueOf(*description, "$classname");
    if (!name || name->kind != Kind::ascii) return Class::unknown;
    latestClassNumber_ = uid->bits;
    latestClass_ = classNamed({reinterpret_cast<const char*>(name->body), name->count});
    return latestClass_;
  }

  bool readUID(const Object& uid, std::size_t depth, PropertyList& value) {
    const auto object = referred(uid);
    if (!object) return false;
    return object->kind == Kind::dictionary ? readRecord(*object, depth, value)
                                            : readScalar(*object, value);
  }

  bool readScalar(const Object& object, PropertyList& value) {
    if (isText(object, "$null") || !budget_.spend(0, BinaryObjectReader::size(object)))
      return false;
    return BinaryObjectReader::scalar(object, value.value);
  }

  bool readRecord(const Object& record, std::size_t depth, PropertyList& value) {
    switch (classOf(record)) {
      case Class::array:
        return readArray(record, depth, value);
      case Class::dictionary:
        return readDictionary(record, depth, value);
      case Class::text:
        return readInline(record, "NS.string", value) && value.as<std::string>() != nullptr;
      case Class::data:
        return readInline(record, "NS.data", value) && value.as<Data>() != nullptr;
      case Class::date:
        return readInline(record, "NS.time", value) && value.as<double>() != nullptr;
      case Class::unknown:
        break;
    }
    return false;
  }

  // A record whose value stands in it as itself.
  bool readInline(const Object& record, std::string_view key, PropertyList& value) {
    const auto object = valueOf(record, key);
    return object && readScalar(*object, value);
  }

  // The list of UIDs under the key.
  std::optional<Object> list(const Object& record, Key& key) const {
    auto object = member(record, key);
    if (object && object->kind != Kind::array) object.reset();
    return object;
  }

  bool readElement(const Object& uids, std::size_t n, std::size_t depth, PropertyList& value) {
    const auto uid = reader_.object(reader_.reference(uids, n));
    return uid && readUID(*uid, depth, value);
  }

  bool readArray(const Object& record, std::size_t depth, PropertyList& value) {
    const auto uids = list(record, elements_);
    if (!uids || depth == kPropertyListDepth || !budget_.spend(uids->count)) return false;
    Array& array = value.value.emplace<Array>(uids->count);
    for (std::size_t i = 0; i < uids->count; ++i) {
      if (!readElement(*uids, i, depth + 1, array[i])) return false;
    }
    return true;
  }

  bool readDictionary(const Object& record, std::size_t depth, PropertyList& value) {
    const auto keys = list(record, keys_);
    const auto values = list(record, elements_);
    if (!keys || !values || keys->count != values->count) return false;
    if (depth == kPropertyListDepth || !budget_.spend(3 * keys->count)) return false;
    Dictionary& dictionary = value.value.emplace<Dictionary>();
    for (std::size_t i = 0; i < keys->count; ++i) {
      PropertyList key;
      if (!readElement(*keys, i, depth + 1, key)) return false;
      auto* const text = key.as<std::string>();
      if (text == nullptr) return false;
      const auto [place, isNew] = dictionary.try_emplace(std::move(*text));
      if (!isNew || !readElement(*values, i, depth + 1, place->second)) return false;
    }
    return true;
  }

  const BinaryObjectReader& reader_;
  ExpansionBudget budget_;
  Object objects_{};
  Key class_{"$class"};
  Key elements_{"NS.objects"};
  Key keys_{"NS.keys"};
  std::uint64_t latestClassNumber_ = 0;
  Class latestClass_ = Class::unknown;
};

}  // namespace

std::optional<PropertyList> unarchivedObject(const Data& data) {
  const auto reader = BinaryObjectReader::open(data);
  PropertyList value;
  if (!reader || !Unarchiver(*reader, data.size()).readRoot(value)) return std::nullopt;
  return value;
}

}  // namespace tarvel
