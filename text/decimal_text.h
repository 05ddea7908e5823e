#pragma once

#include <span>
#include <string>
#include <string_view>

// Numbers as decimal texts, the same in every locale.

namespace tarvel {

// What "%.Nf" gives in the C locale: N decimals, ties on the exact binary value to even, "nan",
// "-nan", "inf" and "-inf" for the rest.
std::string decimalText(double number, int decimals);

// The same into a buffer; the text is cut where the buffer ends. Returns the text.
std::string_view decimalText(double number, int decimals, std::span<char> buffer);

}  // namespace tarvel
