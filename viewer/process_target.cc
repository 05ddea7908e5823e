#include "viewer/process_target.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <poll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tarvel::viewer {
namespace {

std::string reasonOf(int code) {
  switch (code) {
    case ESRCH:
      return "the process has ended";
    case EPERM:
    case EACCES:
      return "not permitted";
    default:
      return std::strerror(code);
  }
}

}  // namespace

std::optional<ProcessTarget> ProcessTarget::open(std::int32_t pid) {
  if (pid <= 0) return std::nullopt;
  FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U)));
  if (!process) return std::nullopt;
  return ProcessTarget(pid, std::move(process));
}

bool ProcessTarget::hasEnded() const {
  pollfd waiting = {process_.get(), POLLIN, 0};
  return ::poll(&waiting, 1, 0) > 0;
}

std::optional<std::string> ProcessTarget::sendSignal(int signal) const {
  if (::syscall(SYS_pidfd_send_signal, process_.get(), signal, nullptr, 0U) == 0) {
    return std::nullopt;
  }
  return reasonOf(errno);
}

// The kernel takes an id here. A process that has not ended keeps its own, and one that is nobody's
// child keeps it until it is reaped: the look before leaves microseconds in which it could change.
std::optional<std::string> ProcessTarget::setNice(int nice) const {
  if (hasEnded()) return reasonOf(ESRCH);
  if (::setpriority(PRIO_PROCESS, static_cast<id_t>(pid_), nice) == 0) return std::nullopt;
  return reasonOf(errno);
}

}  // namespace tarvel::viewer
