#pragma once

#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/property_list.h"

// Values of the store as JSON, and JSON as values of the store.

namespace tarvel::viewer {

using Json = nlohmann::ordered_json;

// Strings, booleans, numbers, arrays and dictionaries as themselves; data that is a keyed archive
// as what it holds, other data as {"data": base64}. A real that JSON cannot spell is null.
Json jsonOf(const PropertyList& value);

// The value that the text spells: whole numbers as integers, others as reals, objects as
// dictionaries. None for a text that is no JSON, holds a null, or a whole number above 2^63-1.
std::optional<PropertyList> propertyListOf(std::string_view text);

}  // namespace tarvel::viewer
