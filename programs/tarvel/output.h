#pragma once

#include <string>
#include <string_view>

#include "programs/tarvel/property_list_json.h"

// What the commands print. Bytes that are no UTF-8 never reach standard output from JSON.

namespace tarvel::viewer {

std::string oneLine(const Json& json);   // ends in a newline
std::string indented(const Json& json);  // ends in a newline

// Writes to standard output: exit status 0, or 1 when nobody takes it.
int printOut(std::string_view text);

// Writes a line to standard error and returns the status.
int complain(int status, const std::string& text);

}  // namespace tarvel::viewer
