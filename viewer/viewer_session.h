#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "platform/host/presence/application_registry.h"
#include "viewer/helper_process.h"

// What every viewer is while it runs: registered, so that the helper measures for it, and in charge
// of a helper being there. One thread.

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

class ViewerSession {
 public:
  using Clock = std::chrono::steady_clock;

  // Registers under the identifier for the life of the object. Where "Panels" is absent, all eight
  // are enabled. With `startsHelper` a helper is started where none runs; with it or without, the
  // last viewer to end ends the one that a viewer has started.
  ViewerSession(std::string_view identifier, DefaultsStore& store, bool startsHelper);

  // To be called every now and then: starts a helper again when it went away, at most every three
  // seconds. Costs a look at the registry, a few system calls.
  void keepHelper(Clock::time_point now);

  // As of the latest call of keepHelper.
  bool isHelperRunning() const { return isHelperRunning_; }

  // False once the installation turned out to have no helper, or one that cannot be started.
  bool canStartHelper() const { return canStart_; }

  // Whether other viewers run beside this one.
  bool isAlone() const;

  const ApplicationRegistry& registry() const { return registry_; }

 private:
  ApplicationRegistry registry_;
  HelperProcess helper_{registry_};
  bool startsHelper_;
  bool canStart_ = true;
  bool isHelperRunning_ = false;
  std::optional<Clock::time_point> lastStart_;
};

}  // namespace tarvel::viewer
