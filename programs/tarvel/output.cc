#include "programs/tarvel/output.h"

#include <cstdio>

#include "programs/tarvel/commands.h"

namespace tarvel::viewer {

std::string oneLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string indented(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

int printOut(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return written && std::fflush(stdout) == 0 ? kDone : kNothing;
}

}  // namespace tarvel::viewer
