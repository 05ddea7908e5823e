#include "platform/recorded/recorded_services.h"

#include <string>
#include <vector>

#include "product/identifiers.h"

namespace tarvel::recorded {
namespace {

constexpr std::string_view kOwnInstance = "replay";

class RecordedBundle : public Bundle {
 public:
  std::string bundleIdentifier() override { return std::string(kHelperIdentifier); }
  std::string bundlePath() override { return std::string(kBundlePath); }
};

class RecordedApplications : public RunningApplications {
 public:
  explicit RecordedApplications(Playback& playback) : playback_(playback) {}

  // The helper itself started last.
  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
      std::string_view identifier) override {
    std::vector<RunningApplication> found;
    for (const auto& running : playback_.machine().running) {
      if (running == identifier) found.push_back({running, std::to_string(found.size()), false});
    }
    if (identifier == kHelperIdentifier) {
      found.push_back({std::string(identifier), std::string(kOwnInstance), true});
    }
    playback_.trace("runningApplicationsWithBundleIdentifier",
                    {{"identifier", identifier}, {"count", found.size()}});
    return found;
  }

  void activateWithOptions(const RunningApplication& application, std::uint32_t options) override {
    playback_.trace("activateWithOptions",
                    {{"identifier", application.bundleIdentifier}, {"options", options}});
  }

 private:
  Playback& playback_;
};

class RecordedAuthorizationReference : public AuthorizationReference {
 public:
  explicit RecordedAuthorizationReference(Playback& playback) : playback_(playback) {}

  std::int32_t AuthorizationCopyRights(std::string_view right, std::uint32_t flags) override {
    playback_.trace("AuthorizationCopyRights", {{"right", right}, {"flags", flags}}, 0);
    return 0;
  }

  std::int32_t AuthorizationExecuteWithPrivileges(
      const std::string& tool, const std::vector<std::string>& arguments) override {
    const auto status = playback_.machine().authorization;
    playback_.trace("AuthorizationExecuteWithPrivileges",
                    {{"tool", tool}, {"arguments", arguments}}, status);
    return status;
  }

  void AuthorizationFree(std::uint32_t flags) override {
    playback_.trace("AuthorizationFree", {{"flags", flags}});
  }

 private:
  Playback& playback_;
};

class RecordedAuthorization : public Authorization {
 public:
  explicit RecordedAuthorization(Playback& playback) : playback_(playback) {}

  std::unique_ptr<AuthorizationReference> AuthorizationCreate() override {
    playback_.trace("AuthorizationCreate", Playback::Arguments::object(), 0);
    return std::make_unique<RecordedAuthorizationReference>(playback_);
  }

 private:
  Playback& playback_;
};

class RecordedUpdater : public Updater {
 public:
  explicit RecordedUpdater(Playback& playback) : playback_(playback) {}

  void setAutomaticallyChecksForUpdates(bool automatic) override {
    playback_.trace("setAutomaticallyChecksForUpdates", {{"value", automatic}});
  }
  void setUpdateCheckInterval(std::chrono::seconds interval) override {
    playback_.trace("setUpdateCheckInterval", {{"seconds", interval.count()}});
  }
  void checkForUpdatesInBackground() override { playback_.trace("checkForUpdatesInBackground"); }
  void checkForUpdates() override { playback_.trace("checkForUpdates"); }

 private:
  Playback& playback_;
};

class RecordedUpdaters : public Updaters {
 public:
  explicit RecordedUpdaters(Playback& playback) : playback_(playback), updater_(playback) {}

  Updater& updaterForBundle(std::string_view identifier) override {
    playback_.trace("updaterForBundle", {{"identifier", identifier}});
    return updater_;
  }

 private:
  Playback& playback_;
  RecordedUpdater updater_;
};

class RecordedTasks : public Tasks {
 public:
  explicit RecordedTasks(Playback& playback) : playback_(playback) {}

  void launch(const std::string& path, const std::vector<std::string>& arguments) override {
    playback_.trace("launch", {{"path", path}, {"arguments", arguments}, {"waited", false}}, 0);
  }

  std::string launchAndReadOutput(const std::string& path,
                                  const std::vector<std::string>& arguments) override {
    playback_.trace("launch", {{"path", path}, {"arguments", arguments}, {"waited", true}}, 0);
    for (const auto& [sortKey, output] : playback_.machine().commands) {
      const std::string sampler = "top -o " + sortKey + " ";
      if (!arguments.empty() && arguments.back().starts_with(sampler)) return output;
    }
    return {};
  }

 private:
  Playback& playback_;
};

}  // namespace

std::unique_ptr<Bundle> makeRecordedBundle() { return std::make_unique<RecordedBundle>(); }

std::unique_ptr<RunningApplications> makeRecordedApplications(Playback& playback) {
  return std::make_unique<RecordedApplications>(playback);
}

std::unique_ptr<Authorization> makeRecordedAuthorization(Playback& playback) {
  return std::make_unique<RecordedAuthorization>(playback);
}

std::unique_ptr<Updaters> makeRecordedUpdaters(Playback& playback) {
  return std::make_unique<RecordedUpdaters>(playback);
}

std::unique_ptr<Tasks> makeRecordedTasks(Playback& playback) {
  return std::make_unique<RecordedTasks>(playback);
}

}  // namespace tarvel::recorded
