#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "viewer/machine/machine_totals.h"
#include "viewer/snapshot.h"

// The user's own text for a line of a status bar: "{cpu}% {mem} {temp:max} {fan} {battery}".
//
// Fields: cpu mem swap load uptime battery battery.time disk.read disk.write net.in net.out top age
// (seconds since the newest reading), and temp fan power voltage current, alone for the largest or
// with ":NAME" for the sensor of that name (":max" is the largest, too). A value that is not there
// is shown as "-". "{{" and "}}" are braces. Pure.

namespace tarvel::viewer {

// Why the text is no template, naming the first field at fault; none where it is one.
std::optional<std::string> templateFault(std::string_view text);

// The text with its fields filled in; each value goes through `shown` first.
std::string filledTemplate(std::string_view text, const Snapshot& snapshot,
                           const MachineTotals& totals,
                           const std::function<std::string(const std::string&)>& shown);

}  // namespace tarvel::viewer
