#include "platform/recorded/playback.h"

#include <algorithm>

namespace tarvel::recorded {

bool Playback::openTrace(const std::string& path) {
  file.open(path, std::ios::binary | std::ios::trunc);
  return file.is_open();
}

const Machine& Playback::machine() const {
  const std::size_t frame = cycle == 0 ? 0 : cycle - 1;
  return machines[std::min(frame, machines.size() - 1)];
}

void Playback::trace(std::string_view call, const Arguments& arguments) {
  if (!file.is_open()) return;
  Arguments line = {{"cycle", cycle}, {"thread", thread}, {"call", call}};
  line.update(arguments);
  file << line.dump(-1, ' ', false, Arguments::error_handler_t::replace) << '\n';
}

void Playback::trace(std::string_view call, Arguments arguments, std::int64_t status) {
  arguments["status"] = status;
  trace(call, arguments);
}

}  // namespace tarvel::recorded
