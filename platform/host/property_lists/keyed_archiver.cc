#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/host/property_lists/binary_object_writer.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/property_lists/property_list_format.h"
#include "product/version.h"

namespace tarvel {
namespace {

// The words of the format. Each is written once, where it is first referred to.
enum class Word : std::uint8_t {
  objects,
  keys,
  classKey,
  className,
  classes,
  array,
  dictionary,
  object,
  count
};
constexpr auto kWordCount = static_cast<std::size_t>(Word::count);
constexpr std::array<std::string_view, kWordCount> kSpelling = {
    "NS.objects", "NS.keys", "$class",       "$classname",
    "$classes",   "NSArray", "NSDictionary", "NSObject"};

constexpr std::string_view kNull = "$null";
constexpr std::int64_t kVersion = 100000;

constexpr std::size_t at(Word word) { return static_cast<std::size_t>(word); }

// What an archived object is made from; a Word stands for the record of the class of that name.
using Source =
    std::variant<Word, const std::string*, const PropertyList*, const Array*, const Dictionary*>;

struct Entry {
  Source source;
  std::size_t extent = 1;  // how many numbers it takes with all that it contains
};

// The objects in the order of their numbers, from 1. An object is numbered when it is first
// referred to, then its contents, depth first, keys before values; then its class, where that is
// new.
class Numbering {
 public:
  // Whether the tree may be archived at all.
  bool addArray(const Array& array, std::size_t depth = 0) {
    if (depth == kPropertyListDepth) return false;
    const std::size_t self = add(&array);
    for (const PropertyList& element : array) {
      if (!addValue(element, depth + 1)) return false;
    }
    objectCount_ += 1;  // the array in the record
    return close(self, Word::array);
  }

  const Entry& operator[](std::size_t number) const { return entries_[number - 1]; }
  std::size_t size() const { return entries_.size(); }
  std::size_t classNumber(Word name) const { return classNumbers_[at(name)]; }

  // How many property-list objects spell them: themselves with their inner arrays, a UID for each,
  // and the words.
  std::size_t objectCount() const {
    const std::size_t words = classNumber(Word::dictionary) == 0 ? kWordCount - 2 : kWordCount;
    return objectCount_ + entries_.size() + words;
  }

 private:
  std::size_t add(Source source) {
    entries_.push_back({source, 1});
    objectCount_ += 1;
    return entries_.size() - 1;
  }

  bool addValue(const PropertyList& value, std::size_t depth) {
    if (const auto* array = value.as<Array>()) return addArray(*array, depth);
    if (const auto* dictionary = value.as<Dictionary>()) return addDictionary(*dictionary, depth);
    if (const auto* text = value.as<std::string>()) {
      add(text);
    } else {
      add(&value);
    }
    return true;
  }

  bool addDictionary(const Dictionary& dictionary, std::size_t depth) {
    if (depth == kPropertyListDepth) return false;
    const std::size_t self = add(&dictionary);
    for (const auto& [key, element] : dictionary) add(&key);
    for (const auto& [key, element] : dictionary) {
      if (!addValue(element, depth + 1)) return false;
    }
    objectCount_ += 2;  // the arrays of keys and of values
    return close(self, Word::dictionary);
  }

  bool close(std::size_t self, Word name) {
    if (classNumbers_[at(name)] == 0) {
      classNumbers_[at(name)] = add(name) + 1;
      objectCount_ += 1;  // the array of the chain
    }
    entries_[self].extent = entries_.size() - self;
    return true;
  }

  std::vector<Entry> entries_;
  std::array<std::size_t, kWordCount> classNumbers_{};
  std::size_t objectCount_ = 0;
};

// Puts the objects down as a property list. An object's place is planned when it is first referred
// to, and taken when the writing has come there.
class ArchiveWriter {
 public:
  explicit ArchiveWriter(const Numbering& numbering)
      : numbering_(numbering), out_(kFrame + numbering.objectCount()) {}

  Data write() && {
    const std::size_t places = frame();
    for (std::size_t number = 1; number <= numbering_.size(); ++number) {
      out_.fill(places, number, out_.written());
      std::visit([&](const auto source) { object(source, number); }, numbering_[number].source);
    }
    return std::move(out_).finish();
  }

 private:
  static constexpr std::size_t kFrame = 11;  // the objects of the frame, but for the root's UID

  // The top dictionary, up to "$null"; returns where the places of the objects are filled in.
  std::size_t frame() {
    out_.dictionary(4);
    for (const std::size_t index : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 10U}) out_.reference(index);
    for (const auto key : {"$version", "$archiver", "$top", "$objects"}) out_.text(key);
    out_.integer(kVersion);
    out_.text("NSKeyedArchiver");
    out_.dictionary(1);
    for (const std::size_t index : {8U, 9U}) out_.reference(index);
    out_.text("root");
    out_.uid(1);
    out_.array(numbering_.size() + 1);
    const std::size_t places = out_.placeholders(numbering_.size() + 1);
    out_.fill(places, 0, out_.written());
    out_.text(kNull);
    return places;
  }

  void object(const std::string* text, std::size_t) {
    out_.text(*text == kNull ? std::string_view("$null ") : *text);
  }

  void object(const PropertyList* value, std::size_t) {
    if (const auto* flag = value->as<bool>()) return out_.boolean(*flag);
    if (const auto* number = value->as<std::int64_t>()) return out_.integer(*number);
    if (const auto* number = value->as<double>()) return out_.real(*number);
    if (const auto* data = value->as<Data>()) return out_.data(*data);
  }

  void object(const Array* array, std::size_t number) {
    record({Word::objects}, array->size(), Word::array, number);
  }

  void object(const Dictionary* dictionary, std::size_t number) {
    record({Word::keys, Word::objects}, dictionary->size(), Word::dictionary, number);
  }

  // A class: its name and the chain of its ancestors.
  void object(Word name, std::size_t) {
    std::size_t next = out_.written() + 1;
    out_.dictionary(2);
    for (const Word word : {Word::className, Word::classes, name}) {
      out_.reference(planned(words_[at(word)], next));
    }
    out_.reference(next++);
    for (const Word word : {Word::className, Word::classes, name}) spell(word);
    out_.array(2);
    out_.reference(words_[at(name)]);
    out_.reference(planned(words_[at(Word::object)], next));
    spell(Word::object);
  }

  // A collection: lists of UIDs, whose numbers follow its own, and its class.
  void record(std::initializer_list<Word> lists, std::size_t count, Word className,
              std::size_t number) {
    std::size_t next = out_.written() + 1;
    std::size_t& classUID = classUIDs_[at(className)];
    out_.dictionary(lists.size() + 1);
    for (const Word list : lists) out_.reference(planned(words_[at(list)], next));
    out_.reference(planned(words_[at(Word::classKey)], next));
    for (std::size_t list = 0; list < lists.size(); ++list) {
      out_.reference(next);
      next += 1 + count;
    }
    out_.reference(planned(classUID, next));
    for (const Word list : lists) spell(list);
    spell(Word::classKey);
    std::size_t child = number + 1;
    for (std::size_t list = 0; list < lists.size(); ++list) child = uidList(count, child);
    if (classUID == out_.written()) out_.uid(numbering_.classNumber(className));
  }

  // The UIDs of that many neighbours, from this number on; returns the number of the next one.
  std::size_t uidList(std::size_t count, std::size_t number) {
    out_.array(count);
    const std::size_t first = out_.written();
    for (std::size_t i = 0; i < count; ++i) out_.reference(first + i);
    for (std::size_t i = 0; i < count; ++i) {
      out_.uid(number);
      number += numbering_[number].extent;
    }
    return number;
  }

  static std::size_t planned(std::size_t& index, std::size_t& next) {
    if (index == 0) index = next++;
    return index;
  }

  void spell(Word word) {
    if (words_[at(word)] == out_.written()) out_.text(kSpelling[at(word)]);
  }

  const Numbering& numbering_;
  BinaryObjectWriter out_;
  std::array<std::size_t, kWordCount> words_{};      // the places of the words
  std::array<std::size_t, kWordCount> classUIDs_{};  // the places of the UIDs of the classes
};

class HostKeyedArchiver : public KeyedArchiver {
 public:
  Data archivedDataWithRootObject(const Array& root) override {
    Numbering numbering;
    if (!numbering.addArray(root)) return {};
    return ArchiveWriter(numbering).write();
  }

  std::optional<Array> unarchiveObjectWithData(const Data& data) override {
    auto object = unarchivedObject(data);
    if (!object) return std::nullopt;
    if (auto* array = object->as<Array>()) return std::move(*array);
    return std::nullopt;
  }
};

}  // namespace

std::unique_ptr<KeyedArchiver> makeKeyedArchiver() { return std::make_unique<HostKeyedArchiver>(); }

}  // namespace tarvel
