#pragma once

#include <string>
#include <string_view>

// Texts that others wrote, made fit to be shown: in a line of the log, of a terminal, of a list.
// Pure, callable from any thread.

namespace tarvel {

// The text with every control character, every byte that is no UTF-8 and every character of
// `unwanted` (ASCII) as one "?". The result is UTF-8 without line breaks.
std::string printableText(std::string_view text, std::string_view unwanted = {});

}  // namespace tarvel
