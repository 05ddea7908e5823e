#pragma once

#include <string>
#include <string_view>

// Texts that others wrote, made fit to be shown: in a line of the log, of a terminal, of a list.
// Pure, callable from any thread.

namespace tarvel {

// Whether the character (UTF-8) changes how its surroundings are shown instead of being shown: C0,
// DEL and C1 controls, line separators, and the bidirectional controls (Unicode 15, UAX #9), which
// let a name look like another one.
bool isControlCharacter(std::string_view character);

// The text with every such character, every byte that is no UTF-8 and every character of `unwanted`
// (ASCII) as one "?". The result is UTF-8 without line breaks.
std::string printableText(std::string_view text, std::string_view unwanted = {});

}  // namespace tarvel
