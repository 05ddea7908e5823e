#include "viewer/viewer_session.h"

#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "viewer/panels.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenStarts = 3s;

void enablePanelsWhereNoneWereChosen(DefaultsStore& store) {
  store.change(kPanelsKey, [](const std::optional<PropertyList>& panels) {
    return panels ? std::nullopt : std::optional(allPanelsEnabled());
  });
}

}  // namespace

ViewerSession::ViewerSession(std::string_view identifier, DefaultsStore& store, bool startsHelper)
    : registry_(identifier), startsHelper_(startsHelper) {
  enablePanelsWhereNoneWereChosen(store);
  keepHelper(Clock::now());
}

void ViewerSession::keepHelper(Clock::time_point now) {
  isHelperRunning_ = helper_.isRunning();
  if (isHelperRunning_ || !startsHelper_) return;
  if (lastStart_ && now - *lastStart_ < kBetweenStarts) return;
  lastStart_ = now;
  canStart_ = helper_.start();
}

bool ViewerSession::isAlone() const {
  const auto viewers =
      registry_.running(kViewerIdentifier).size() + registry_.running(kWidgetIdentifier).size();
  return viewers <= 1;
}

}  // namespace tarvel::viewer
