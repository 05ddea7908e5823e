#include "programs/export/sensor_sources.h"

#include <utility>

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostAsked = 4096;  // far more than a machine has sensors

}  // namespace

std::optional<ListedSource> SensorSources::of(std::string_view panel, const std::string& sensor,
                                              std::size_t place) {
  auto source = listing_.of(panel, sensor, place);
  if (!source && asked_.size() < kMostAsked) {
    isWanted_ |= asked_.emplace(std::string(panel), sensor, place).second;
  }
  return source;
}

void SensorSources::renew() {
  if (next_ && next_->wait(0ms)) {
    listing_ = *std::move(next_);
    next_.reset();
  }
  if (!isWanted_ || next_) return;
  isWanted_ = false;
  next_.emplace().request();
}

}  // namespace tarvel::viewer
