#include "platform/linux/linux_authorization.h"

#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "platform/bundle.h"
#include "platform/host/processes/child_process.h"
#include "platform/linux/bundle_folder.h"
#include "platform/linux/detached_thread.h"
#include "platform/system_log.h"

namespace tarvel {
namespace {

// Status codes of Authorization Services.
constexpr std::int32_t kAuthorizationDenied = -60005;
constexpr std::int32_t kToolExecuteFailure = -60031;

// Exit statuses of pkexec(1) itself: the dialogue was dismissed, not authorized.
constexpr int kPkexecDismissed = 126;
constexpr int kPkexecDenied = 127;

// Prints the status of a command, so that it is not taken for one of the unit around it.
constexpr const char* kReportStatus = "\"$@\" >/dev/null; echo $?";

std::int32_t statusOfPkexec(std::optional<int> exitStatus) {
  if (!exitStatus) return kToolExecuteFailure;
  const bool refused = *exitStatus == kPkexecDismissed || *exitStatus == kPkexecDenied;
  return refused ? kAuthorizationDenied : 0;
}

std::vector<std::string> commandOf(const std::string& tool,
                                   const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {tool};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

std::int32_t runAsRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  const auto child = spawnProgram(tool, arguments);
  if (!child) return kToolExecuteFailure;
  startDetachedThread("reap", [child] { waitForProgram(*child); });
  return 0;
}

std::optional<int> runHere(const std::vector<std::string>& command) {
  const auto child = spawnProgram(command.front(), {command.begin() + 1, command.end()});
  return child ? std::optional(waitForProgram(*child)) : std::nullopt;
}

std::optional<int> runInTransientUnit(const std::vector<std::string>& command) {
  std::vector<std::string> arguments = {"--user", "--quiet", "--collect", "--wait",      "--pipe",
                                        "--",     "/bin/sh", "-c",        kReportStatus, "sh"};
  arguments.insert(arguments.end(), command.begin(), command.end());
  const auto output = readProgramOutput("systemd-run", arguments);
  int status = 0;
  const auto read = std::from_chars(output.data(), output.data() + output.size(), status);
  return read.ec == std::errc{} ? std::optional(status) : std::nullopt;
}

bool mayGainNoPrivileges() { return ::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1; }

// The exit status of pkexec(1).
std::optional<int> runByPkexec(std::vector<std::string> command) {
  command.insert(command.begin(), "pkexec");
  return mayGainNoPrivileges() ? runInTransientUnit(command) : runHere(command);
}

// A hardened unit sees the home read-only; one of its own does not.
std::int32_t runAsOneself(const std::vector<std::string>& command) {
  auto status = runHere(command);
  if (status != 0 && mayGainNoPrivileges()) status = runInTransientUnit(command);
  return status == 0 ? 0 : kToolExecuteFailure;
}

class LinuxAuthorizationReference : public AuthorizationReference {
 public:
  LinuxAuthorizationReference(Bundle& bundle, SystemLog& log) : bundle_(bundle), log_(log) {}

  // The user is asked when the tool is run; there are no rights to be held before.
  std::int32_t AuthorizationCopyRights(std::string_view, std::uint32_t) override { return 0; }

  std::int32_t AuthorizationExecuteWithPrivileges(
      const std::string& tool, const std::vector<std::string>& arguments) override {
    if (const auto reason = whyRefused(tool, arguments)) {
      log_.NSLog("Removal refused: " + *reason);
      return kAuthorizationDenied;
    }
    const auto command = commandOf(tool, arguments);
    if (belongsToRoot(arguments.back())) {
      return ::geteuid() == 0 ? runAsRoot(tool, arguments) : statusOfPkexec(runByPkexec(command));
    }
    if (::geteuid() != 0) return runAsOneself(command);
    log_.NSLog("Removal refused: " + arguments.back() + ": not in folders of root alone");
    return kAuthorizationDenied;
  }

  void AuthorizationFree(std::uint32_t) override {}

 private:
  std::optional<std::string> whyRefused(const std::string& tool,
                                        const std::vector<std::string>& arguments) const {
    if (tool != "/bin/rm" || arguments.size() != 2 || arguments.front() != "-rf") {
      return "not the removal of the bundle";
    }
    if (arguments.back() != bundle_.bundlePath()) return "not the folder of this bundle";
    if (const auto reason = whyNotBundleFolder(arguments.back(), bundle_.bundleIdentifier())) {
      return arguments.back() + ": " + *reason;
    }
    return std::nullopt;
  }

  Bundle& bundle_;
  SystemLog& log_;
};

class LinuxAuthorization : public Authorization {
 public:
  LinuxAuthorization(Bundle& bundle, SystemLog& log) : bundle_(bundle), log_(log) {}

  std::unique_ptr<AuthorizationReference> AuthorizationCreate() override {
    return std::make_unique<LinuxAuthorizationReference>(bundle_, log_);
  }

 private:
  Bundle& bundle_;
  SystemLog& log_;
};

}  // namespace

std::unique_ptr<Authorization> makeLinuxAuthorization(Bundle& bundle, SystemLog& log) {
  return std::make_unique<LinuxAuthorization>(bundle, log);
}

}  // namespace tarvel
