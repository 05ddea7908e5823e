#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <string_view>

#include <unistd.h>

#include "platform/host/container/update_state.h"
#include "platform/host/processes/child_process.h"
#include "platform/host/standard_error_log.h"
#include "programs/update/bundle.h"
#include "programs/update/download.h"
#include "programs/update/feed.h"
#include "programs/update/restart.h"
#include "programs/update/signature.h"
#include "programs/update/update_error.h"

// tarvel-update background|interactive BUNDLE: looks for a newer helper in the feed that the
// bundle's Info.plist names, verifies it, puts it in the place of the bundle and starts it. What it
// does and why it does not is told the log; an interactive check tells the user as well.

namespace {

using namespace tarvel;
using namespace tarvel::update;

constexpr std::uint64_t kLargestFeed = 1U << 20;      // bytes
constexpr std::uint64_t kLargestArchive = 64U << 20;  // bytes

// VERSION_ID of os-release(5), the version of the distribution.
std::string systemVersion() {
  std::ifstream file("/etc/os-release");
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("VERSION_ID=")) continue;
    const auto first = line.find_first_of("0123456789");
    return first == std::string::npos
               ? ""
               : line.substr(first, line.find_last_of("0123456789") - first + 1);
  }
  return {};
}

// Addresses of archives may be given in relation to the feed's.
std::string absoluteURL(const std::string& url, const std::string& feed) {
  if (url.find("://") != std::string::npos) return url;
  if (url.starts_with('/')) return feed.substr(0, feed.find('/', feed.find("://") + 3)) + url;
  return feed.substr(0, feed.rfind('/') + 1) + url;
}

// What happened, in words.
std::string lookForUpdate(const std::string& bundlePath) {
  const BundleInfo bundle = readBundle(bundlePath);
  if (isPackaged(bundlePath)) {
    return "Tarvel " + bundle.version + " was installed by the package manager: update it there.";
  }
  if (bundle.feedURL.empty()) {
    return "Tarvel " + bundle.version +
           " knows no address to look for updates: build or install "
           "a newer version yourself.";
  }
  noteUpdateCheck();
  const auto release =
      newestRelease(download(bundle.feedURL, kLargestFeed), bundle.version, systemVersion());
  if (!release) return "Tarvel " + bundle.version + " is up to date.";
  if (release->length > kLargestArchive) throw UpdateError("the update is larger than it may be");
  const auto archive = download(absoluteURL(release->url, bundle.feedURL), release->length);
  if (archive.size() != release->length) throw UpdateError("the update is cut short");
  if (!isSigned(archive, release->signature, bundle.publicKey)) {
    throw UpdateError("the update is not signed by the key of this bundle");
  }
  replaceBundle(bundlePath, archive, release->version);
  restartHelper(bundlePath);
  return "Tarvel was updated from " + bundle.version + " to " + release->version + ".";
}

// By the desktop where there is one.
void notify(const std::string& text) {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const bool bus =
      std::getenv("DBUS_SESSION_BUS_ADDRESS") != nullptr ||
      (runtime != nullptr && ::access((std::string(runtime) + "/bus").c_str(), R_OK) == 0);
  if (!bus) return;
  const auto child = spawnProgram("notify-send", {"--app-name=Tarvel", "Tarvel", text});
  if (child) waitForProgram(*child);
}

}  // namespace

int main(int argc, char** argv) {
  const auto log = makeSystemLog();
  const std::string_view mode = argc == 3 ? argv[1] : "";
  if (mode != "background" && mode != "interactive") {
    log->NSLog("tarvel-update: arguments: background or interactive, and a bundle, are wanted");
    return 2;
  }
  std::string told;  // to the user: nothing of a feed that nobody has signed
  int status = 0;
  try {
    told = lookForUpdate(argv[2]);
    log->NSLog(told);
  } catch (const std::exception& reason) {
    told = "Tarvel was not updated. Its log says why.";
    log->NSLog(std::string("Tarvel was not updated: ") + reason.what());
    status = 1;
  }
  if (mode == "interactive") notify(told);
  return status;
}
