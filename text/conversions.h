#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// How texts are read as numbers and compared. The locale of the process never matters: the decimal
// point is always ".". Pure functions, callable from any thread.

namespace tarvel {

// The leading decimal integer: blanks skipped, optional sign, digits up to the first other
// character. No digits give 0; what does not fit gives the nearest 32-bit limit.
std::int32_t intValue(std::string_view text);

// The leading decimal number with optional fraction and exponent. None gives 0; "inf", "nan" and
// hexadecimal are no numbers; what does not fit gives the nearest finite value.
float floatValue(std::string_view text);

// True when, after blanks, a sign and zeros, the next character is one of Y y T t 1-9.
bool boolValue(std::string_view text);

// The number that the whole text spells in decimal style (sign, digits, "."; blanks at both ends
// allowed); a text that is anything else, such as "50.0%", gives none.
std::optional<double> numberFromText(std::string_view text);

// Orders two texts character by character with letters folded to lower case, digits as characters:
// negative, zero or positive. Folds ASCII, which is all that sensor names are made of.
int caseInsensitiveCompare(std::string_view a, std::string_view b);

}  // namespace tarvel
