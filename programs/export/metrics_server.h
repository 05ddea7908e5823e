#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>

// A web server for one document, GET /metrics, on the thread that calls it. Whoever reaches it may
// send what they like, as slowly as they like: it holds a bounded number of connections, in all and
// of one address, 8 kB of each, and none for longer than thirty seconds or for ten seconds in which
// nothing comes. A connection carries one request. However many ask, the document is made once a
// second and held once; where making it throws, the answer is 500.

struct MHD_Connection;
struct MHD_Daemon;
struct MHD_Response;

namespace tarvel::viewer {

class MetricsServer {
 public:
  using Clock = std::chrono::steady_clock;
  using Document = std::function<std::string(Clock::time_point now)>;

  static constexpr unsigned kMostConnections = 1536;
  static constexpr unsigned kMostOfOneAddress = 1024;

  // Listens as listenAt does. Throws a CommandError where that cannot be done.
  MetricsServer(const std::string& address, Document document);
  ~MetricsServer();
  MetricsServer(const MetricsServer&) = delete;
  MetricsServer& operator=(const MetricsServer&) = delete;

  // Where the document is, by numbers: "http://127.0.0.1:9188/metrics".
  const std::string& url() const { return url_; }

  // Waits for so long at most, and serves what has come.
  void serve(std::chrono::milliseconds longest);

 private:
  struct Free {
    void operator()(MHD_Response* response) const;
  };
  struct Stop {
    void operator()(MHD_Daemon* daemon) const;
  };
  struct Callbacks;

  MHD_Response* present(Clock::time_point now);
  void endOld(Clock::time_point now);

  Document document_;
  std::string url_;
  std::unique_ptr<MHD_Response, Free> response_;
  Clock::time_point madeAt_;
  std::map<int, Clock::time_point> began_;  // of the connections, by descriptor
  Clock::time_point lastLook_;
  std::unique_ptr<MHD_Daemon, Stop> daemon_;  // last: it calls back while it is stopped
};

}  // namespace tarvel::viewer
