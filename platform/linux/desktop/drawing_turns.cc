#include "platform/linux/desktop/drawing_turns.h"

#include <utility>

namespace tarvel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostAtOnce = 2;
constexpr std::size_t kMostRemembered = 1024;

}  // namespace

DrawingTurns::DrawingTurns(std::chrono::seconds pause, std::function<std::string()> folderIdentity)
    : pause_(pause),
      folderIdentity_(std::move(folderIdentity)),
      state_(std::make_shared<State>()) {}

bool DrawingTurns::isFree(const std::string& application) const {
  const std::string folder = folderIdentity_();
  const std::lock_guard lock(state_->mutex);
  return isFreeIn(application, folder);
}

DrawingTurns::Turn DrawingTurns::take(const std::string& application) {
  const std::string folder = folderIdentity_();
  const std::lock_guard lock(state_->mutex);
  if (!isFreeIn(application, folder)) return nullptr;
  state_->drawing.insert(application);
  if (state_->drawn.size() >= kMostRemembered) state_->drawn.clear();
  state_->drawn[application] = {folder, Clock::now()};
  return {static_cast<const void*>(this), [state = state_, application](const void*) {
            const std::lock_guard unlock(state->mutex);
            state->drawing.erase(application);
          }};
}

void DrawingTurns::forget() {
  const std::lock_guard lock(state_->mutex);
  state_->drawn.clear();
}

bool DrawingTurns::isFreeIn(const std::string& application, const std::string& folder) const {
  const auto& [mutex, drawing, drawn] = *state_;
  if (drawing.size() >= kMostAtOnce || drawing.contains(application)) return false;
  const auto before = drawn.find(application);
  return before == drawn.end() || before->second.folder != folder ||
         Clock::now() - before->second.at >= pause_;
}

}  // namespace tarvel
