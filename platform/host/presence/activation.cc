#include "platform/host/presence/activation.h"

#include <array>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/host/presence/application_registry.h"

namespace tarvel {
namespace {

constexpr std::size_t kLongestMessage = 4096;

std::string socketPath(const ApplicationRegistry& registry, const RunningApplication& application) {
  const std::string& folder = registry.folder();
  if (folder.empty()) return {};
  return folder.substr(0, folder.rfind('/') + 1) + application.bundleIdentifier + "@" +
         application.instance + ".activate";
}

// None for a path that is longer than an address may be.
std::optional<sockaddr_un> addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) return std::nullopt;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

FileDescriptor makeSocket() {
  return FileDescriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

}  // namespace

ActivationInbox::ActivationInbox(const ApplicationRegistry& registry,
                                 const std::string& identifier) {
  for (const auto& application : registry.running(identifier)) {
    if (application.isCurrent) path_ = socketPath(registry, application);
  }
  const auto address = addressOf(path_);
  if (!address) return;
  // What a killed process of our number has left behind.
  ::unlink(path_.c_str());
  FileDescriptor made = makeSocket();
  if (made && ::bind(made.get(), generic(*address), sizeof *address) == 0) {
    socket_ = std::move(made);
  }
}

ActivationInbox::~ActivationInbox() {
  if (socket_) ::unlink(path_.c_str());
}

std::optional<std::string> ActivationInbox::take() {
  std::array<char, kLongestMessage> text;
  const ssize_t size = ::recv(socket_.get(), text.data(), text.size(), 0);
  if (size < 0) return std::nullopt;
  return std::string(text.data(), static_cast<std::size_t>(size));
}

bool askToActivate(const ApplicationRegistry& registry, const RunningApplication& application,
                   const std::string& message) {
  const auto address = addressOf(socketPath(registry, application));
  const FileDescriptor own = makeSocket();
  return address && own &&
         ::sendto(own.get(), message.data(), message.size(), MSG_NOSIGNAL, generic(*address),
                  sizeof *address) >= 0;
}

}  // namespace tarvel
