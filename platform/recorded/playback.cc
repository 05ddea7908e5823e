#include "platform/recorded/playback.h"

#include <algorithm>

namespace tarvel::recorded {

bool Playback::openTrace(const std::string& path) {
  file_.open(path, std::ios::binary | std::ios::trunc);
  return file_.is_open();
}

bool Playback::finishTrace() { return !file_.is_open() || file_.flush().good(); }

const Machine& Playback::machine() const {
  const std::size_t frame = cycle_ == 0 ? 0 : cycle_ - 1;
  return machines_[std::min(frame, machines_.size() - 1)];
}

void Playback::trace(std::string_view call, const Arguments& arguments) {
  if (!file_.is_open()) return;
  Arguments line = {{"cycle", cycle_}, {"thread", thread_}, {"call", call}};
  line.update(arguments);
  file_ << line.dump(-1, ' ', false, Arguments::error_handler_t::replace) << '\n';
}

void Playback::trace(std::string_view call, Arguments arguments, std::int64_t status) {
  arguments["status"] = status;
  trace(call, arguments);
}

}  // namespace tarvel::recorded
