#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// The values that the shared store holds and that keyed archives are made of.
//
// Strings are UTF-8 and may hold any character, NUL included. Integers are signed 64-bit numbers.
// A value owns all that it holds; copying copies the whole tree.

namespace tarvel {

struct PropertyList;

using Data = std::vector<std::uint8_t>;
using Array = std::vector<PropertyList>;
using Dictionary = std::map<std::string, PropertyList, std::less<>>;

struct PropertyList {
  using Value = std::variant<std::string, bool, std::int64_t, double, Data, Array, Dictionary>;

  PropertyList() = default;
  PropertyList(const char* text) : value(std::in_place_type<std::string>, text) {}
  PropertyList(std::string text) : value(std::move(text)) {}
  PropertyList(std::same_as<bool> auto flag) : value(flag) {}
  PropertyList(std::same_as<double> auto number) : value(number) {}
  PropertyList(Data data) : value(std::move(data)) {}
  PropertyList(Array array) : value(std::move(array)) {}
  PropertyList(Dictionary dictionary) : value(std::move(dictionary)) {}
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool>)
  PropertyList(Integer number) : value(static_cast<std::int64_t>(number)) {}

  // The value as one type; null when it is of another.
  template <typename Type>
  const Type* as() const {
    return std::get_if<Type>(&value);
  }
  template <typename Type>
  Type* as() {
    return std::get_if<Type>(&value);
  }

  Value value;
};

inline bool operator==(const PropertyList& a, const PropertyList& b) { return a.value == b.value; }

// The conversion of a stored object: booleans and numbers are true when not zero, texts as the text
// conversion has it; data, arrays and dictionaries are false.
bool boolValue(const PropertyList& object);

}  // namespace tarvel
