#include "platform/linux/desktop/process_application.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <memory>
#include <string_view>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/files/small_file.h"
#include "platform/linux/desktop/unit_application.h"

namespace tarvel {
namespace {

constexpr std::size_t kProcLimit = 256 * 1024;  // bytes of a file in /proc
constexpr std::string_view kSeat = "/run/systemd/seats/seat0";
constexpr const char* kSandboxFile = "/root/.flatpak-info";
constexpr std::chrono::milliseconds kLongestLook{50};
constexpr std::size_t kMostLooks = 4;  // that go on for longer

using Application = DesktopIndex::Application;

// The value of a NAME=value line of the text; lines end in `separator`.
std::optional<std::string> valueIn(std::string_view text, std::string_view name, char separator) {
  while (!text.empty()) {
    const auto line = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line.size() > name.size() && line.starts_with(name) && line[name.size()] == '=') {
      return std::string(line.substr(name.size() + 1));
    }
  }
  return std::nullopt;
}

// The user whose applications are shown: oneself, and for root also whoever sits at the machine.
bool isShownUser(uid_t user) {
  if (user == ::geteuid()) return true;
  if (::geteuid() != 0) return false;
  const auto seat = readSmallFile(std::string(kSeat), kProcLimit);
  const auto active = seat ? valueIn(*seat, "ACTIVE_UID", '\n') : std::nullopt;
  return active == std::to_string(user);
}

const Application* byUnit(const std::string& folder, const DesktopIndex& index) {
  const auto text = readSmallFile(folder + "/cgroup", kProcLimit);
  if (!text) return nullptr;
  for (const auto& identifier : unitIdentifiers(controlGroupPath(*text))) {
    if (const auto* application = index.withIdentifier(identifier)) return application;
  }
  return nullptr;
}

// What the link says, without a look at what it stands for; none with errno set.
std::optional<std::string> linkText(const std::string& path) {
  std::array<char, PATH_MAX> text;
  const ssize_t length = ::readlink(path.c_str(), text.data(), text.size());
  if (length < 0) return std::nullopt;
  return std::string(text.data(), static_cast<std::size_t>(length));
}

const Application* bySandbox(const std::string& folder, const DesktopIndex& index,
                             SandboxLooks& sandboxes) {
  const auto name = sandboxes.name(folder);
  return name ? index.withIdentifier(*name) : nullptr;
}

std::vector<std::string> argumentsOf(const std::string& folder) {
  std::vector<std::string> arguments;
  const auto text = readSmallFile(folder + "/cmdline", kProcLimit).value_or("");
  for (std::size_t start = 0; start < text.size();) {
    const auto end = std::min(text.find('\0', start), text.size());
    arguments.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return arguments;
}

const Application* byProgram(const std::string& folder, const DesktopIndex& index) {
  constexpr std::string_view deleted = " (deleted)";  // upgraded while it runs
  auto program = linkText(folder + "/exe");
  if (!program) return nullptr;
  if (program->ends_with(deleted)) program->resize(program->size() - deleted.size());
  return index.startingProgram(*program, [&] { return argumentsOf(folder); });
}

// Launchers leave the entry's path in the environment, which all descendants inherit: it counts
// only where it names this very process.
const Application* byLaunch(const std::string& folder, std::int32_t pid,
                            const DesktopIndex& index) {
  const auto text = readSmallFile(folder + "/environ", kProcLimit);
  if (!text) return nullptr;
  if (valueIn(*text, "GIO_LAUNCHED_DESKTOP_FILE_PID", '\0') == std::to_string(pid)) {
    if (const auto path = valueIn(*text, "GIO_LAUNCHED_DESKTOP_FILE", '\0')) {
      return index.atPath(*path);
    }
  }
  const auto hint = valueIn(*text, "BAMF_DESKTOP_FILE_HINT", '\0');
  return hint ? index.atPath(*hint) : nullptr;
}

}  // namespace

SandboxLooks::SandboxLooks()
    : ownMounts_(linkText("/proc/self/ns/mnt").value_or("")),
      looks_("sandbox", kLongestLook, kMostLooks) {}

bool SandboxLooks::mayBe(const std::string& processFolder) const {
  const auto theirs = linkText(processFolder + "/ns/mnt");
  return theirs ? *theirs != ownMounts_ : errno != EACCES;
}

std::optional<std::string> SandboxLooks::name(const std::string& processFolder) {
  if (!mayBe(processFolder)) return std::nullopt;
  const auto found = std::make_shared<std::optional<std::string>>();
  const auto outcome = looks_.run(processFolder, [found, path = processFolder + kSandboxFile] {
    const auto text = readSmallFile(path, kProcLimit);
    if (text) *found = valueIn(*text, "name", '\n');
  });
  return outcome == BoundedOutcome::finished ? *found : std::nullopt;
}

const Application* processApplication(const std::string& procFolder, std::int32_t pid,
                                      const DesktopIndex& index, SandboxLooks& sandboxes) {
  const std::string folder = procFolder + "/" + std::to_string(pid);
  struct stat status {};
  if (pid <= 0 || ::stat(folder.c_str(), &status) != 0 || !isShownUser(status.st_uid))
    return nullptr;
  if (const auto* application = byUnit(folder, index)) return application;
  if (const auto* application = bySandbox(folder, index, sandboxes)) return application;
  if (const auto* application = byProgram(folder, index)) return application;
  return byLaunch(folder, pid, index);
}

}  // namespace tarvel
