#include "platform/host/processes/child_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"

namespace tarvel {
namespace {

class SpawnActions {
 public:
  SpawnActions() { posix_spawn_file_actions_init(&actions_); }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  bool give(int ours, int theirs) {
    highest_ = std::max(highest_, theirs);
    return ::posix_spawn_file_actions_adddup2(&actions_, ours, theirs) == 0;
  }
  bool closeOthers() {
    return ::posix_spawn_file_actions_addclosefrom_np(&actions_, highest_ + 1) == 0;
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
  int highest_ = STDERR_FILENO;
};

class SpawnAttributes {
 public:
  explicit SpawnAttributes(bool ownSession) {
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    constexpr short kSignals = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    posix_spawnattr_setflags(&attributes_, ownSession ? kSignals | POSIX_SPAWN_SETSID : kSignals);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::string readToEnd(int descriptor) {
  std::string output;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count > 0) {
      output.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return output;
    }
  }
}

}  // namespace

std::optional<pid_t> spawnProgram(const std::string& program,
                                  const std::vector<std::string>& arguments,
                                  const ChildSetting& setting) {
  SpawnActions actions;
  for (const auto& [ours, theirs] : setting.descriptors) {
    if (!actions.give(ours, theirs)) return std::nullopt;
  }
  if (!actions.closeOthers()) return std::nullopt;
  std::vector<std::string> texts = {program};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = setting.environment.value_or(std::vector<std::string>());
  const SpawnAttributes attributes(setting.ownSession);
  pid_t child = 0;
  const int error = ::posix_spawnp(&child, program.c_str(), actions.get(), attributes.get(),
                                   pointersTo(texts).data(),
                                   setting.environment ? pointersTo(variables).data() : environ);
  return error == 0 ? std::optional(child) : std::nullopt;
}

int waitForProgram(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// The pipe is read before the child is waited for: one that writes more than a pipe holds would
// never end otherwise.
std::string readProgramOutput(const std::string& program,
                              const std::vector<std::string>& arguments) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return {};
  const FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);
  const auto child = spawnProgram(program, arguments, {{{writing.get(), STDOUT_FILENO}}});
  writing.reset();
  if (!child) return {};
  std::string output = readToEnd(reading.get());
  waitForProgram(*child);
  return output;
}

}  // namespace tarvel
