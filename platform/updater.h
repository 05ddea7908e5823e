#pragma once

#include <chrono>
#include <string_view>

// The updater of an application bundle. Checks run by themselves; none of the calls waits for one
// or reports its outcome. Main thread only.

namespace tarvel {

class Updater {
 public:
  virtual ~Updater() = default;

  virtual void setAutomaticallyChecksForUpdates(bool automatic) = 0;
  virtual void setUpdateCheckInterval(std::chrono::seconds interval) = 0;
  virtual void checkForUpdatesInBackground() = 0;  // tells the user nothing
  virtual void checkForUpdates() = 0;              // asked for by the user, who learns its outcome
};

class Updaters {
 public:
  virtual ~Updaters() = default;

  // The one updater of the bundle with this identifier; lives as long as the process.
  virtual Updater& updaterForBundle(std::string_view identifier) = 0;
};

}  // namespace tarvel
