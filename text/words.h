#pragma once

#include <cstdint>
#include <string_view>

// A text taken apart word by word, as the kernel's tables are read. Pure functions, any thread.

namespace tarvel {

// Takes the next word of the text, words being parted by blanks, and leaves the rest; empty at the
// end.
std::string_view takeWord(std::string_view& text);

// Takes the text up to the next line break.
std::string_view takeLine(std::string_view& text);

// The whole number that the text begins with; 0 without one.
std::uint64_t wholeNumber(std::string_view text);

// The decimal number that the text begins with; 0 without one.
double decimalNumber(std::string_view text);

}  // namespace tarvel
