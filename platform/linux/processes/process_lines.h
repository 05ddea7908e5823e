#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The columns of a process list as texts. Pure functions.

namespace tarvel {

// Tenths as a number with one decimal: 123 is "12.3".
std::string tenthsText(std::int64_t tenths);

// KiB as a whole number with "K" below 10,240 KiB, with "M" below 10,240 MiB, else with "G" and one
// decimal; rounded to the nearest.
std::string memoryText(std::uint64_t kibibytes);

// A process can name itself anything: the first three words, each followed by a blank but the last,
// as if there always were three; what is no printable text, "<" and ">" are shown as "?".
std::string nameText(std::string_view name);

// "<tag>text</tag>".
std::string tagged(std::string_view tag, std::string_view text);

}  // namespace tarvel
