#pragma once

#include <string>
#include <vector>

#include "programs/tarvel/property_list_json.h"

// What the doctor found at one place, and what would help there.

namespace tarvel::tools {

using viewer::Json;

enum class State {
  ok,
  missing,  // something that a machine may have is not there or cannot be used
  note,     // as it is; nothing is wrong
};

struct Finding {
  std::string subject;  // "temperatures", "disk sda"
  State state = State::ok;
  std::string found;  // one line
  std::string step;   // the one thing that would help; empty: nothing would, or need be done
  Json details = Json::object();
};

using Findings = std::vector<Finding>;

// A line each, the step below it.
std::string textOf(const Findings& findings);

// {"findings": [{"subject", "state", "found", "step", "details"}]}, the step null where there is
// none.
Json jsonOf(const Findings& findings);

}  // namespace tarvel::tools
