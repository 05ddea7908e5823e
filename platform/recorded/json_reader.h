#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

// Reading JSON against a format: each reader takes the value and the place where it stands, such as
// "smc.keys.TC0P.size", and throws Misfit naming that place where the value is of another kind.
// Misfit never leaves the component.

namespace tarvel::recorded {

using Json = nlohmann::json;

class Misfit : public std::runtime_error {
 public:
  Misfit(const std::string& place, std::string_view reason)
      : std::runtime_error((place.empty() ? "the whole" : place) + ": " + std::string(reason)) {}
};

std::string at(const std::string& place, std::string_view member);
std::string at(const std::string& place, std::size_t index);

const Json& readObject(const Json& value, const std::string& place);
const Json& readArray(const Json& value, const std::string& place);
std::string readText(const Json& value, const std::string& place);
bool readFlag(const Json& value, const std::string& place);
std::int64_t readWhole(const Json& value, std::int64_t least, std::int64_t most,
                       const std::string& place);
std::uint32_t readCode(const Json& value, const std::string& place);  // 0 to 2^32-1
double readPoints(const Json& value, const std::string& place);       // finite, not negative
std::string readHex(const Json& value, const std::string& place);     // the bytes it spells
std::string readBase64(const Json& value, const std::string& place);  // the bytes it spells

// Four ASCII characters as a number, the first the most significant byte; fewer where `shorter`,
// filled up with zero bytes.
std::uint32_t readFourCharacters(std::string_view text, bool shorter, const std::string& place);

}  // namespace tarvel::recorded
