#include "programs/tarvel/metrics_server.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <netdb.h>
#include <sys/socket.h>

#include "programs/tarvel/commands.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostConnections = 8;
constexpr std::size_t kMostBytes = 4096;
constexpr auto kTimeLimit = 5s;
constexpr int kBacklog = 16;

std::string response(const std::string& status, const std::string& body,
                     const std::string& headers = "Content-Type: text/plain\r\n") {
  return "HTTP/1.1 " + status + "\r\n" + headers +
         "Content-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

std::string refusal(const std::string& status, const std::string& headers = {}) {
  return response(status, status + "\n", "Content-Type: text/plain\r\n" + headers);
}

bool isMethod(std::string_view text) {
  return !text.empty() && text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == text.npos;
}

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

}  // namespace

std::optional<std::string> answerTo(const std::string& request,
                                    const std::function<std::string()>& document) {
  const auto head = request.find("\r\n\r\n");
  if (head == std::string::npos) {
    return request.size() < kMostBytes ? std::nullopt : std::optional(refusal("400 Bad Request"));
  }
  const std::string_view line = std::string_view(request).substr(0, request.find("\r\n"));
  const auto first = line.find(' ');
  const auto last = line.rfind(' ');
  if (first == last || line.find(' ', first + 1) != last || !isMethod(line.substr(0, first)) ||
      !line.substr(last + 1).starts_with("HTTP/1.")) {
    return refusal("400 Bad Request");
  }
  auto path = line.substr(first + 1, last - first - 1);
  path = path.substr(0, path.find('?'));
  if (!path.starts_with('/')) return refusal("400 Bad Request");
  if (path != "/metrics") return refusal("404 Not Found");
  if (line.substr(0, first) != "GET") return refusal("405 Method Not Allowed", "Allow: GET\r\n");
  return response("200 OK", document(),
                  "Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n");
}

std::string MetricsServer::url() const {
  sockaddr_storage place{};
  socklen_t size = sizeof place;
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  auto* address = reinterpret_cast<sockaddr*>(&place);
  if (::getsockname(listener_.get(), address, &size) != 0 ||
      ::getnameinfo(address, size, host.data(), host.size(), port.data(), port.size(),
                    NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    return {};
  }
  const std::string name(host.data());
  const bool isIPv6 = name.find(':') != name.npos;
  return "http://" + (isIPv6 ? "[" + name + "]" : name) + ":" + port.data() + "/metrics";
}

MetricsServer::MetricsServer(const std::string& address, std::function<std::string()> document)
    : listener_(listenAt(address)), document_(std::move(document)) {}

void MetricsServer::serve(std::chrono::milliseconds time) {
  std::vector<pollfd> polled;
  const bool hasRoom = connections_.size() < kMostConnections;
  polled.push_back({hasRoom ? listener_.get() : -1, POLLIN, 0});
  for (const auto& connection : connections_) {
    const short wanted = connection.answer.empty() ? POLLIN : POLLOUT;
    polled.push_back({connection.socket.get(), wanted, 0});
  }
  if (::poll(polled.data(), polled.size(), static_cast<int>(time.count())) < 0) return;
  std::size_t index = 0;
  connections_.remove_if([&](Connection& connection) {
    return !proceed(connection, polled[++index].revents) || Clock::now() > connection.until;
  });
  if (polled.front().revents != 0) accept();
}

void MetricsServer::accept() {
  FileDescriptor socket(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (socket) connections_.push_back({std::move(socket), Clock::now() + kTimeLimit, {}, {}});
}

bool MetricsServer::proceed(Connection& connection, short events) {
  if (events == 0) return true;
  if (connection.answer.empty() && !receive(connection)) return false;
  return connection.answer.empty() || send(connection);
}

bool MetricsServer::receive(Connection& connection) {
  char buffer[1024];
  const auto count = ::recv(connection.socket.get(), buffer, sizeof buffer, 0);
  if (count <= 0) return count < 0 && (errno == EAGAIN || errno == EINTR);
  connection.request.append(buffer, static_cast<std::size_t>(count));
  if (auto answer = answerTo(connection.request, document_)) connection.answer = *std::move(answer);
  return true;
}

bool MetricsServer::send(Connection& connection) const {
  const auto& answer = connection.answer;
  const auto count = ::send(connection.socket.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
  if (count < 0) return errno == EAGAIN || errno == EINTR;
  connection.answer.erase(0, static_cast<std::size_t>(count));
  if (!connection.answer.empty()) return true;
  ::shutdown(connection.socket.get(), SHUT_WR);
  return false;
}

}  // namespace tarvel::viewer
