#include "programs/tarvel/property_list_json.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/host/property_lists/keyed_archive.h"

namespace tarvel::viewer {
namespace {

// Values nest as deep as whoever wrote them likes; this many levels are shown and taken.
constexpr int kDepthLimit = 100;

// Archives may hold archives, each of them often: of one value this much is read as archives, in
// bytes, and the rest shown as the data that it is. All readings together have some 100 KB.
constexpr std::size_t kArchiveLimit = 4 * 1024 * 1024;

std::string base64Of(const Data& data) {
  constexpr std::string_view digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < data.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, data.size() - i);
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k) bits = bits << 8 | (k < count ? data[i + k] : 0U);
    for (std::size_t k = 0; k < 4; ++k) {
      text.push_back(k <= count ? digits[bits >> (18 - 6 * k) & 63] : '=');
    }
  }
  return text;
}

Json jsonAt(const PropertyList& value, int depth, std::size_t& archived);

struct ToJson {
  int depth;
  std::size_t& archived;  // bytes of archives read so far

  Json operator()(const std::string& text) const { return text; }
  Json operator()(bool flag) const { return flag; }
  Json operator()(std::int64_t number) const { return number; }
  Json operator()(double number) const { return std::isfinite(number) ? Json(number) : Json(); }
  Json operator()(const Data& data) const {
    if (data.size() <= kArchiveLimit - std::min(archived, kArchiveLimit)) {
      archived += data.size();
      if (const auto object = unarchivedObject(data)) return jsonAt(*object, depth + 1, archived);
    }
    return {{"data", base64Of(data)}};
  }
  Json operator()(const Array& array) const {
    Json json = Json::array();
    for (const auto& element : array) json.push_back(jsonAt(element, depth + 1, archived));
    return json;
  }
  Json operator()(const Dictionary& dictionary) const {
    Json json = Json::object();
    for (const auto& [key, element] : dictionary) json[key] = jsonAt(element, depth + 1, archived);
    return json;
  }
};

Json jsonAt(const PropertyList& value, int depth, std::size_t& archived) {
  return depth > kDepthLimit ? Json() : std::visit(ToJson{depth, archived}, value.value);
}

std::optional<PropertyList> fromJson(const nlohmann::json& json, int depth);

std::optional<PropertyList> arrayFromJson(const nlohmann::json& json, int depth) {
  Array array;
  for (const auto& element : json) {
    auto value = fromJson(element, depth + 1);
    if (!value) return std::nullopt;
    array.push_back(std::move(*value));
  }
  return array;
}

std::optional<PropertyList> dictionaryFromJson(const nlohmann::json& json, int depth) {
  Dictionary dictionary;
  for (const auto& [key, element] : json.items()) {
    auto value = fromJson(element, depth + 1);
    if (!value) return std::nullopt;
    dictionary[key] = std::move(*value);
  }
  return dictionary;
}

std::optional<PropertyList> fromJson(const nlohmann::json& json, int depth) {
  if (depth > kDepthLimit) return std::nullopt;
  if (json.is_string()) return json.get<std::string>();
  if (json.is_boolean()) return json.get<bool>();
  if (json.is_number_unsigned() && json.get<std::uint64_t>() > INT64_MAX) return std::nullopt;
  if (json.is_number_integer()) return json.get<std::int64_t>();
  if (json.is_number_float()) return json.get<double>();
  if (json.is_array()) return arrayFromJson(json, depth);
  if (json.is_object()) return dictionaryFromJson(json, depth);
  return std::nullopt;
}

}  // namespace

Json jsonOf(const PropertyList& value) {
  std::size_t archived = 0;
  return jsonAt(value, 0, archived);
}

std::optional<PropertyList> propertyListOf(std::string_view text) {
  const auto json = nlohmann::json::parse(text, nullptr, false);
  return json.is_discarded() ? std::nullopt : fromJson(json, 0);
}

}  // namespace tarvel::viewer
