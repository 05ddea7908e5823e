#include "platform/recorded/json_reader.h"

#include <cmath>

namespace tarvel::recorded {
namespace {

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string at(const std::string& place, std::string_view member) {
  return place.empty() ? std::string(member) : place + "." + std::string(member);
}

std::string at(const std::string& place, std::size_t index) {
  return place + "[" + std::to_string(index) + "]";
}

const Json& readObject(const Json& value, const std::string& place) {
  if (!value.is_object()) throw Misfit(place, "not an object");
  return value;
}

const Json& readArray(const Json& value, const std::string& place) {
  if (!value.is_array()) throw Misfit(place, "not an array");
  return value;
}

std::string readText(const Json& value, const std::string& place) {
  if (!value.is_string()) throw Misfit(place, "not a string");
  return value.get<std::string>();
}

bool readFlag(const Json& value, const std::string& place) {
  if (!value.is_boolean()) throw Misfit(place, "not true or false");
  return value.get<bool>();
}

std::int64_t readWhole(const Json& value, std::int64_t least, std::int64_t most,
                       const std::string& place) {
  const bool tooLarge = value.is_number_unsigned() &&
                        value.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX);
  if (!value.is_number_integer() || tooLarge || value.get<std::int64_t>() < least ||
      value.get<std::int64_t>() > most) {
    throw Misfit(
        place, "not a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return value.get<std::int64_t>();
}

std::uint32_t readCode(const Json& value, const std::string& place) {
  return static_cast<std::uint32_t>(readWhole(value, 0, UINT32_MAX, place));
}

double readPoints(const Json& value, const std::string& place) {
  const double points = value.is_number() ? value.get<double>() : -1;
  if (!std::isfinite(points) || points < 0) throw Misfit(place, "not a size in points");
  return points;
}

std::string readHex(const Json& value, const std::string& place) {
  const std::string text = readText(value, place);
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = hexDigit(text[i]);
    const int low = i + 1 < text.size() ? hexDigit(text[i + 1]) : -1;
    if (high < 0 || low < 0) throw Misfit(place, "not hexadecimal");
    bytes.push_back(static_cast<char>(high * 16 + low));
  }
  return bytes;
}

std::string readBase64(const Json& value, const std::string& place) {
  std::string text = readText(value, place);
  if (text.size() % 4 != 0) throw Misfit(place, "not base64");
  for (int padding = 0; padding < 2 && text.ends_with('='); ++padding) text.pop_back();
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    const auto digit = kBase64.find(c);
    if (digit == std::string_view::npos) throw Misfit(place, "not base64");
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes.push_back(static_cast<char>(bits >> count & 0xFF));
  }
  return bytes;
}

std::uint32_t readFourCharacters(std::string_view text, bool shorter, const std::string& place) {
  if (text.size() > 4 || (!shorter && text.size() < 4)) {
    throw Misfit(place, shorter ? "more than four characters" : "not four characters");
  }
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const auto byte = i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    if (byte >= 0x80) throw Misfit(place, "not ASCII");
    code = code << 8 | byte;
  }
  return code;
}

}  // namespace tarvel::recorded
