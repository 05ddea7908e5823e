#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

// What the blocks that an ATA disk answers say: IDENTIFY DEVICE data (ATA/ATAPI command set, 256
// little-endian words) and S.M.A.R.T. data (a revision word and thirty entries of 12 bytes).
// Pure functions, callable from any thread.

namespace tarvel {

using AtaBlockView = std::span<const std::uint8_t, 512>;

// 0 when the identify block carries the integrity signature and its bytes sum up to 0 modulo 256.
// A block without signature fails, though the signature is optional.
int VerifyIdentifyData(AtaBlockView identify);

// The model name without blanks and tabs at its ends; none when it is not UTF-8.
std::optional<std::string> modelName(AtaBlockView identify);

bool supportsSmart(AtaBlockView identify);

// Degrees Celsius, 0 to 255: the lowest raw byte of the last attribute 194; what drives put into
// the higher ones (extremes, or nothing sensible) is not looked at.
std::optional<std::uint8_t> attributeTemperature(AtaBlockView smart);

enum class TemperatureUnit : std::int32_t { celsius = 0, fahrenheit = 1, kelvin = 2 };

// Whole degrees; a unit of no meaning counts as Celsius. Fahrenheit is twice the degrees less their
// fifth, which is cut, plus 32: 41 °C gives 106. Kelvin is cut.
std::int32_t convertedTemperature(std::int32_t celsius, TemperatureUnit unit);

}  // namespace tarvel
