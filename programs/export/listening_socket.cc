#include "programs/export/listening_socket.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include <netdb.h>
#include <sys/socket.h>

#include "programs/tarvel/commands.h"

namespace tarvel::viewer {
namespace {

constexpr int kBacklog = 128;

std::pair<std::string, std::string> hostAndPort(const std::string& address) {
  const auto colon = address.rfind(':');
  const std::string port = colon == std::string::npos ? address : address.substr(colon + 1);
  const bool isNumber = !port.empty() && port.find_first_not_of("0123456789") == port.npos;
  if (!isNumber || port.size() > 5 || std::stoi(port) > 65535) {
    throw CommandError(kUsage, address, "not HOST:PORT");
  }
  std::string host = colon == std::string::npos ? "" : address.substr(0, colon);
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  // Without a host nobody else reaches it: there are no passwords and no encryption here.
  return {host.empty() ? "localhost" : host, port};
}

struct FreeAddresses {
  void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};

FileDescriptor listenAt(const addrinfo& place) {
  constexpr int kKind = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;
  FileDescriptor listener(::socket(place.ai_family, kKind, 0));
  const int on = 1;
  ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const bool listens = ::bind(listener.get(), place.ai_addr, place.ai_addrlen) == 0 &&
                       ::listen(listener.get(), kBacklog) == 0;
  if (!listens) listener.reset();
  return listener;
}

}  // namespace

FileDescriptor listenAt(const std::string& address) {
  const auto [host, port] = hostAndPort(address);
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int code = ::getaddrinfo(host.c_str(), port.c_str(), &hints, &list);
  if (code != 0) throw CommandError(kNothing, address, gai_strerror(code));
  const std::unique_ptr<addrinfo, FreeAddresses> places(list);
  for (const auto* place = list; place != nullptr; place = place->ai_next) {
    if (auto listener = listenAt(*place)) return listener;
  }
  throw CommandError(kNothing, address, std::strerror(errno));
}

std::string urlOf(const FileDescriptor& listener) {
  sockaddr_storage place{};
  socklen_t size = sizeof place;
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  auto* address = reinterpret_cast<sockaddr*>(&place);
  if (::getsockname(listener.get(), address, &size) != 0 ||
      ::getnameinfo(address, size, host.data(), host.size(), port.data(), port.size(),
                    NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    return {};
  }
  const std::string name(host.data());
  const bool isIPv6 = name.find(':') != name.npos;
  return "http://" + (isIPv6 ? "[" + name + "]" : name) + ":" + port.data();
}

}  // namespace tarvel::viewer
