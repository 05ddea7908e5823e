#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <optional>
#include <string>

#include <poll.h>

#include "platform/host/files/file_descriptor.h"

// A small HTTP/1.1 server for one document, GET /metrics, on one thread. Each connection carries
// one request and is closed after its answer. Bounded: eight connections at a time, further ones
// wait; four kilobytes a request; five seconds a connection.

namespace tarvel::viewer {

class MetricsServer {
 public:
  using Clock = std::chrono::steady_clock;

  // Listens at "HOST:PORT", an IPv6 address in brackets, or at "PORT" of the loopback; port 0 takes
  // any. Throws a CommandError where that cannot be done. The document is made for every request.
  MetricsServer(const std::string& address, std::function<std::string()> document);

  // Where the document is, by numbers: "http://127.0.0.1:9188/metrics".
  std::string url() const;

  // Serves for this long.
  void serve(std::chrono::milliseconds time);

 private:
  struct Connection {
    FileDescriptor socket;
    Clock::time_point until;
    std::string request;
    std::string answer;  // what is still to be sent
  };

  void accept();
  bool proceed(Connection& connection, short events);  // false: it is done with
  bool receive(Connection& connection);
  bool send(Connection& connection) const;

  FileDescriptor listener_;
  std::function<std::string()> document_;
  std::list<Connection> connections_;
};

// The whole answer to a request; none while its head is not yet complete.
std::optional<std::string> answerTo(const std::string& request,
                                    const std::function<std::string()>& document);

}  // namespace tarvel::viewer
