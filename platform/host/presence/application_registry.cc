#include "platform/host/presence/application_registry.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "product/identifiers.h"

namespace tarvel {
namespace {

constexpr mode_t kOthersMayWrite = 022;
constexpr mode_t kOthersMayAnything = 077;
constexpr mode_t kFileMode = S_ISVTX | 0600;
constexpr std::time_t kStaleAfter = 60;  // seconds

bool isSafe(const struct stat& status, uid_t user, mode_t forbidden) {
  return S_ISDIR(status.st_mode) && status.st_uid == user && (status.st_mode & forbidden) == 0;
}

// Makes the folder where it is missing; whether it is there and safe.
bool haveFolder(const std::string& path, uid_t user, mode_t forbidden) {
  ::mkdir(path.c_str(), 0700);
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && isSafe(status, user, forbidden);
}

bool isOwn(const std::string& path, uid_t user) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && isSafe(status, user, kOthersMayWrite);
}

std::optional<std::string> runtimeFolder(uid_t user) {
  const char* const named = std::getenv("XDG_RUNTIME_DIR");
  if (named != nullptr && named[0] == '/' && isOwn(named, user)) return named;
  std::string usual = "/run/user/" + std::to_string(user);
  if (isOwn(usual, user)) return usual;
  return std::nullopt;
}

// The registry's folder, empty when there can be none.
std::string registryFolder(uid_t user) {
  const auto runtime = runtimeFolder(user);
  const std::string name(kRuntimeFolder);
  const std::string product =
      runtime ? *runtime + "/" + name : "/tmp/" + name + "-" + std::to_string(user);
  if (!haveFolder(product, user, runtime ? kOthersMayWrite : kOthersMayAnything)) return {};
  const std::string folder = product + "/apps";
  return haveFolder(folder, user, kOthersMayWrite) ? folder : std::string();
}

FileDescriptor openFolder(const std::string& path, uid_t user) {
  FileDescriptor folder;
  if (path.empty()) return folder;
  folder.reset(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  if (folder && (::fstat(folder.get(), &status) != 0 || !isSafe(status, user, kOthersMayWrite))) {
    folder.reset();
  }
  return folder;
}

bool lockForLife(const FileDescriptor& file) {
  // Whoever looks holds the lock for microseconds: wait for it.
  while (::flock(file.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

bool writeAll(const FileDescriptor& file, const std::string& text) {
  return ::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

bool isHeld(const FileDescriptor& file) {
  if (::flock(file.get(), LOCK_SH | LOCK_NB) != 0) return errno == EWOULDBLOCK;
  ::flock(file.get(), LOCK_UN);
  return false;
}

// What the file says; ours are short.
std::string readText(const FileDescriptor& file) {
  std::array<char, 256> text;
  const ssize_t size = ::pread(file.get(), text.data(), text.size(), 0);
  return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

// The names in the folder that begin with the prefix.
std::vector<std::string> namesIn(const FileDescriptor& folder, const std::string& prefix) {
  std::vector<std::string> names;
  alignas(dirent64) std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t size = ::getdents64(folder.get(), buffer.data(), buffer.size());
    if (size <= 0) return names;
    for (ssize_t at = 0; at < size;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
      const std::string_view name = entry->d_name;
      if (name.starts_with(prefix)) names.emplace_back(name);
      at += entry->d_reclen;
    }
  }
}

// When the file was made, where an instance holds it; removes it where nobody does.
std::optional<timespec> heldSince(const FileDescriptor& folder, const std::string& name) {
  constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;
  const FileDescriptor file(::openat(folder.get(), name.c_str(), kFlags));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return std::nullopt;
  if (::flock(file.get(), LOCK_SH | LOCK_NB) != 0) {
    return errno == EWOULDBLOCK ? std::optional(status.st_mtim) : std::nullopt;
  }
  if (std::time(nullptr) - status.st_mtim.tv_sec > kStaleAfter) {
    ::unlinkat(folder.get(), name.c_str(), 0);
  }
  return std::nullopt;
}

// Makes the file without a name, locks it and gives it the name: it never stands there unlocked.
// 0 or an error number.
int announceAtOnce(const FileDescriptor& folder, const std::string& name,
                   const std::string& contents, FileDescriptor& lock) {
  FileDescriptor file(::openat(folder.get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  if (!file) return errno;
  const std::string self = "/proc/self/fd/" + std::to_string(file.get());
  if (::fchmod(file.get(), kFileMode) != 0 || !lockForLife(file) || !writeAll(file, contents)) {
    return EIO;
  }
  if (::linkat(AT_FDCWD, self.c_str(), folder.get(), name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
    return errno;
  }
  lock = std::move(file);
  return 0;
}

// For file systems and sandboxes that do not allow that. Whoever looks in between does not see us
// yet, but we shall see him.
int announceStepwise(const FileDescriptor& folder, const std::string& name,
                     const std::string& contents, FileDescriptor& lock) {
  constexpr int kFlags = O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC;
  FileDescriptor file(::openat(folder.get(), name.c_str(), kFlags, 0600));
  if (!file) return errno;
  if (::fchmod(file.get(), kFileMode) != 0 || !lockForLife(file) || !writeAll(file, contents)) {
    ::unlinkat(folder.get(), name.c_str(), 0);
    return EIO;
  }
  lock = std::move(file);
  return 0;
}

}  // namespace

ApplicationRegistry::ApplicationRegistry(std::string_view identifier, std::string_view note)
    : identifier_(identifier),
      contents_(std::to_string(::getpid())),
      user_(::geteuid()),
      folder_(registryFolder(user_)) {
  if (!note.empty()) contents_.append("\n").append(note);
  const bool canBeNamed =
      !identifier_.empty() && identifier_.find_first_of("/@") == std::string::npos;
  if (canBeNamed) announce();
}

ApplicationRegistry::~ApplicationRegistry() { withdraw(); }

void ApplicationRegistry::withdraw() {
  if (!file_.empty()) ::unlink((folder_ + "/" + file_).c_str());
  lock_.reset();
  file_.clear();
  identifier_.clear();
}

FileDescriptor ApplicationRegistry::openHeld(const RunningApplication& application) const {
  constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;
  const std::string name = application.bundleIdentifier + "@" + application.instance;
  FileDescriptor file;
  if (const FileDescriptor folder = openFolder(folder_, user_)) {
    file.reset(::openat(folder.get(), name.c_str(), kFlags));
  }
  if (file && !isHeld(file)) file.reset();
  return file;
}

std::string ApplicationRegistry::note(const RunningApplication& application) const {
  const FileDescriptor file = openHeld(application);
  const std::string text = file ? readText(file) : std::string();
  const auto end = text.find('\n');
  return end == std::string::npos ? std::string() : text.substr(end + 1);
}

// The file is still held after the process has been opened: so the process that is open is its
// holder.
bool ApplicationRegistry::signal(const RunningApplication& application, int signal) const {
  const FileDescriptor file = openHeld(application);
  if (!file) return false;
  const long pid = std::strtol(readText(file).c_str(), nullptr, 10);
  if (pid <= 1 || pid > std::numeric_limits<pid_t>::max()) return false;
  const FileDescriptor process(
      static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(pid), 0)));
  return process && isHeld(file) &&
         ::syscall(SYS_pidfd_send_signal, process.get(), signal, nullptr, 0) == 0;
}

void ApplicationRegistry::announce() {
  constexpr int kTries = 100;  // a number may be taken: by a dead process, or in another namespace
  const FileDescriptor folder = openFolder(folder_, user_);
  const std::string base = identifier_ + "@" + std::to_string(::getpid());
  for (int i = 1; folder && i <= kTries; ++i) {
    std::string name = i == 1 ? base : base + "-" + std::to_string(i);
    int error = announceAtOnce(folder, name, contents_, lock_);
    if (error != 0 && error != EEXIST) error = announceStepwise(folder, name, contents_, lock_);
    if (error == 0) file_ = std::move(name);
    if (error != EEXIST) return;
  }
}

std::vector<RunningApplication> ApplicationRegistry::running(std::string_view identifier) const {
  struct Instance {
    timespec since;
    std::string name;
  };
  std::vector<Instance> instances;
  const std::string prefix = std::string(identifier) + "@";
  if (const FileDescriptor folder = openFolder(folder_, user_)) {
    for (std::string& name : namesIn(folder, prefix)) {
      const auto since = heldSince(folder, name);
      if (since) instances.push_back({*since, std::move(name)});
    }
  }
  std::ranges::sort(instances, {}, [](const Instance& instance) {
    return std::tie(instance.since.tv_sec, instance.since.tv_nsec, instance.name);
  });
  std::vector<RunningApplication> applications;
  bool foundOneself = identifier_ != identifier || identifier_.empty();
  for (const Instance& instance : instances) {
    const bool isCurrent = instance.name == file_;
    foundOneself = foundOneself || isCurrent;
    applications.push_back(
        {std::string(identifier), instance.name.substr(prefix.size()), isCurrent});
  }
  if (!foundOneself) {
    applications.push_back({identifier_, std::to_string(::getpid()), true});
  }
  return applications;
}

}  // namespace tarvel
