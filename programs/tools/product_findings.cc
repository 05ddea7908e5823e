#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>

#include <pwd.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/container/update_state.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/property_lists/property_list_format.h"
#include "platform/host/store/defaults_database.h"
#include "platform/linux/bundle_folder.h"
#include "platform/linux/linux_bundle.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "programs/tools/findings.h"

namespace tarvel::tools {
namespace {

constexpr std::string_view kBundleName = "/TarvelHelper.app";

Finding containerFinding(const std::optional<std::string>& container) {
  Finding finding{"container", State::ok, container.value_or(""), ""};
  finding.details["path"] = container ? Json(*container) : Json();
  if (container) return finding;
  finding.state = State::missing;
  finding.found = "none: no home, or its folders cannot be made";
  finding.step = "set XDG_DATA_HOME or HOME to a folder of yours";
  return finding;
}

// What the helper wrote there about itself.
Json helperVersion(DefaultsDatabase& database) {
  std::optional<Data> blob;
  if (database.read(kTarvelHelperVersionKey, blob) != DatabaseStatus::done || !blob) return {};
  const auto value = decode(*blob);
  const auto* text = value ? value->as<std::string>() : nullptr;
  return text != nullptr ? Json(*text) : Json();
}

void describe(Finding& finding, DefaultsDatabase& database) {
  finding.details["newer"] = database.isNewer();
  if (database.isNewer()) {
    finding.state = State::missing;
    finding.found += ", made by a later version: left alone";
    finding.step = "update tarvel";
    return;
  }
  std::size_t keys = 0;
  database.readAll([&](const std::string&, const Data&) { ++keys; });
  finding.details["keys"] = keys;
  finding.details["helperVersion"] = helperVersion(database);
  finding.found += ", " + std::to_string(keys) + (keys == 1 ? " key" : " keys");
}

Finding storeFinding(const std::string& container) {
  const std::string path =
      container + "/Library/Preferences/" + std::string(kSuiteName) + ".sqlite";
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  Finding finding{"store", State::ok, path, ""};
  finding.details = {{"path", path}, {"size", error ? Json() : Json(size)}, {"readable", false}};
  if (error) {
    finding.state = State::note;
    finding.found = "not there yet: the first writer makes it";
    return finding;
  }
  finding.found += ", " + std::to_string(size) + " bytes";
  auto status = DatabaseStatus::done;
  const auto database = DefaultsDatabase::open(path, status);
  if (database) {
    finding.details["readable"] = true;
    describe(finding, *database);
    return finding;
  }
  finding.state = State::missing;
  const bool damaged = status == DatabaseStatus::damaged;
  finding.found += damaged ? ", damaged: it is set aside at its next use" : ", cannot be opened";
  if (!damaged) finding.step = "see to it that " + path + " is yours and its disk has room";
  return finding;
}

Finding registryFinding(const ApplicationRegistry& registry) {
  Finding finding{"registry", State::ok, registry.folder(), ""};
  finding.details["path"] = registry.folder().empty() ? Json() : Json(registry.folder());
  if (!registry.folder().empty()) return finding;
  finding.state = State::missing;
  finding.found = "none: viewers and the helper do not see one another";
  finding.step = "set XDG_RUNTIME_DIR to a folder that only you may write to";
  return finding;
}

Finding runningFinding(const ApplicationRegistry& registry, const std::string& subject,
                       std::string_view identifier) {
  Finding finding{subject, State::note, "", "", {{"identifier", identifier}}};
  Json& pids = finding.details["pids"] = Json::array();
  for (const auto& application : registry.running(identifier)) {
    const auto pid = std::strtol(application.instance.c_str(), nullptr, 10);
    pids.push_back(pid);
    finding.found += (finding.found.empty() ? "runs as " : ", ") + std::to_string(pid);
  }
  if (!pids.empty()) finding.state = State::ok;
  if (pids.empty()) finding.found = "does not run";
  return finding;
}

// Where a process of this user has its store. An administrator's helper has more rights than we, so
// that its environment is closed to us; its unit sets no other folders than those of the home.
std::string storeFolderOf(long pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/environ");
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  auto folder = dataHomeIn(text);
  const passwd* user = folder ? nullptr : ::getpwuid(::geteuid());
  if (user != nullptr) folder = std::string(user->pw_dir) + "/.local/share";
  return folder.value_or("") + "/" + std::string(kSuiteName);
}

Finding helperFinding(const ApplicationRegistry& registry,
                      const std::optional<std::string>& container) {
  Finding finding = runningFinding(registry, "helper", kHelperIdentifier);
  if (finding.state != State::ok) {
    finding.state = State::missing;
    finding.step = "run tarvel watch, which starts one";
    return finding;
  }
  const auto theirs = storeFolderOf(finding.details["pids"].front().get<long>());
  finding.details["container"] = theirs;
  std::error_code error;
  if (!container || std::filesystem::equivalent(theirs, *container, error)) return finding;
  finding.state = State::missing;
  finding.found += ", and writes elsewhere: " + theirs;
  finding.step = "start both with the same XDG_DATA_HOME: systemctl --user edit tarvel-helper";
  return finding;
}

Finding bundleFinding(const std::string& bundle) {
  const bool helper = ::access((bundle + "/TarvelHelper").c_str(), X_OK) == 0;
  const auto version = infoValue(bundle + "/Info.plist", "CFBundleVersion");
  Finding finding{"helper bundle", State::ok, bundle + ", version " + version.value_or(""), ""};
  finding.details = {{"path", bundle}, {"version", version ? Json(*version) : Json()}};
  if (helper && version) return finding;
  finding.state = State::missing;
  finding.found = bundle + (helper ? " has no Info.plist" : " has no helper");
  finding.step = "install tarvel anew";
  return finding;
}

Finding updateFinding(const std::string& bundle) {
  const auto feed = infoValue(bundle + "/Info.plist", "SUFeedURL").value_or("");
  Finding finding{"updates", State::note, "no feed: updates come with the packages", ""};
  finding.details = {{"feed", feed.empty() ? Json() : Json(feed)}, {"hoursSinceCheck", Json()}};
  if (feed.empty()) return finding;
  finding.state = State::ok;
  finding.found = "from " + feed;
  if (const auto age = timeSinceUpdateCheck()) {
    const auto hours = std::chrono::duration_cast<std::chrono::hours>(*age).count();
    finding.details["hoursSinceCheck"] = hours;
    finding.found += ", last looked " + std::to_string(hours) + " h ago";
  }
  return finding;
}

}  // namespace

std::optional<std::string> dataHomeIn(std::string_view environment) {
  std::optional<std::string> found;
  while (!environment.empty()) {
    const auto entry = environment.substr(0, environment.find('\0'));
    environment.remove_prefix(std::min(entry.size() + 1, environment.size()));
    if (entry.starts_with("XDG_DATA_HOME=/")) return std::string(entry.substr(entry.find('/')));
    if (entry.starts_with("HOME=/")) found = std::string(entry.substr(5)) + "/.local/share";
  }
  return found;
}

Findings productFindings() {
  const auto container = groupContainer(kSuiteName);
  Findings findings = {containerFinding(container)};
  if (container) findings.push_back(storeFinding(*container));
  const ApplicationRegistry registry;
  findings.push_back(registryFinding(registry));
  findings.push_back(helperFinding(registry, container));
  findings.push_back(runningFinding(registry, "viewer", kViewerIdentifier));
  findings.push_back(runningFinding(registry, "widget", kWidgetIdentifier));
  const std::string bundle = programFolder() + std::string(kBundleName);
  findings.push_back(bundleFinding(bundle));
  findings.push_back(updateFinding(bundle));
  return findings;
}

}  // namespace tarvel::tools
