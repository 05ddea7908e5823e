#include "programs/export/metrics_server.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

#include <microhttpd.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include "programs/export/listening_socket.h"
#include "programs/tarvel/commands.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

using Response = std::unique_ptr<MHD_Response, decltype(&MHD_destroy_response)>;

constexpr auto kBetweenDocuments = 1s;
constexpr auto kLongestConnection = 30s;
constexpr unsigned kSilence = 10;             // seconds
constexpr std::size_t kMostBytes = 8 * 1024;  // of a connection; also bounds its request's head
constexpr unsigned kOtherFiles = 64;

constexpr std::string_view kPage =
    "<!DOCTYPE html>\n<title>Tarvel</title>\n"
    "<p>The readings of this machine are at <a href=\"/metrics\">/metrics</a>.</p>\n";

// As many connections as the process may have descriptors for. Most sessions start programs with
// fewer than they may ask for.
unsigned mostConnections() {
  constexpr rlim_t kWanted = MetricsServer::kMostConnections + kOtherFiles;
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return kOtherFiles;
  limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, kWanted));
  ::setrlimit(RLIMIT_NOFILE, &limit);
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const auto files = static_cast<unsigned>(std::min(limit.rlim_cur, kWanted));
  return std::max(files, 2 * kOtherFiles) - kOtherFiles;
}

Response responseOf(std::string_view body, const char* type) {
  Response response(MHD_create_response_from_buffer(body.size(), const_cast<char*>(body.data()),
                                                    MHD_RESPMEM_MUST_COPY),
                    &MHD_destroy_response);
  if (response) {
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, type);
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONNECTION, "close");
  }
  return response;
}

MHD_Result refuse(MHD_Connection* connection, unsigned status, std::string_view text) {
  const auto response = responseOf(text, "text/plain");
  if (!response) return MHD_NO;
  if (status == MHD_HTTP_METHOD_NOT_ALLOWED) {
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_ALLOW, MHD_HTTP_METHOD_GET);
  }
  return MHD_queue_response(connection, status, response.get());
}

}  // namespace

// No exception may unwind the library's frames: they are C.
struct MetricsServer::Callbacks {
  // Called when a request's head is complete. An answer at once ends the connection after it, so
  // that no body is read.
  static MHD_Result answer(void* own, MHD_Connection* connection, const char* url,
                           const char* method, const char*, const char*, std::size_t*,
                           void**) noexcept {
    try {
      return answer(*static_cast<MetricsServer*>(own), connection, url, method);
    } catch (...) {
      return refuse(connection, MHD_HTTP_INTERNAL_SERVER_ERROR, "500 Internal Server Error\n");
    }
  }

  static MHD_Result answer(MetricsServer& server, MHD_Connection* connection, std::string_view path,
                           std::string_view method) {
    if (path != "/" && path != "/metrics") {
      return refuse(connection, MHD_HTTP_NOT_FOUND, "404 Not Found\n");
    }
    if (method != MHD_HTTP_METHOD_GET) {
      return refuse(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "405 Method Not Allowed\n");
    }
    if (path == "/") {
      const auto page = responseOf(kPage, "text/html");
      return page ? MHD_queue_response(connection, MHD_HTTP_OK, page.get()) : MHD_NO;
    }
    auto* const response = server.present(Clock::now());
    return response != nullptr ? MHD_queue_response(connection, MHD_HTTP_OK, response) : MHD_NO;
  }

  // A connection whose beginning cannot be noted is ended: nothing would bound its age.
  static void note(void* own, MHD_Connection* connection, void**,
                   MHD_ConnectionNotificationCode what) noexcept {
    auto& server = *static_cast<MetricsServer*>(own);
    const auto* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    if (info == nullptr) return;
    if (what == MHD_CONNECTION_NOTIFY_STARTED) {
      try {
        server.began_[info->connect_fd] = Clock::now();
      } catch (const std::bad_alloc&) {
        ::shutdown(info->connect_fd, SHUT_RDWR);
      }
    } else {
      server.began_.erase(info->connect_fd);
    }
  }
};

void MetricsServer::Free::operator()(MHD_Response* response) const {
  MHD_destroy_response(response);
}

void MetricsServer::Stop::operator()(MHD_Daemon* daemon) const { MHD_stop_daemon(daemon); }

MetricsServer::MetricsServer(const std::string& address, Document document)
    : document_(std::move(document)) {
  auto listener = listenAt(address);
  url_ = urlOf(listener) + "/metrics";
  const unsigned most = mostConnections();
  daemon_.reset(MHD_start_daemon(
      MHD_USE_EPOLL, 0, nullptr, nullptr, &Callbacks::answer, this, MHD_OPTION_LISTEN_SOCKET,
      listener.get(), MHD_OPTION_CONNECTION_LIMIT, most, MHD_OPTION_PER_IP_CONNECTION_LIMIT,
      std::min(most, kMostOfOneAddress), MHD_OPTION_CONNECTION_TIMEOUT, kSilence,
      MHD_OPTION_CONNECTION_MEMORY_LIMIT, kMostBytes, MHD_OPTION_NOTIFY_CONNECTION,
      &Callbacks::note, this, MHD_OPTION_END));
  if (!daemon_) throw CommandError(kNothing, address, "cannot be served");
  static_cast<void>(listener.release());  // the daemon's own from now on
}

MetricsServer::~MetricsServer() = default;

void MetricsServer::serve(std::chrono::milliseconds longest) {
  MHD_run_wait(daemon_.get(), static_cast<std::int32_t>(longest.count()));
  endOld(Clock::now());
}

// The response that all who ask within a second share; null where there is no memory for one.
MHD_Response* MetricsServer::present(Clock::time_point now) {
  if (!response_ || now - madeAt_ >= kBetweenDocuments) {
    response_.reset();  // not for longer than that, should the next one fail
    madeAt_ = now;
    response_.reset(
        responseOf(document_(now), "text/plain; version=0.0.4; charset=utf-8").release());
  }
  return response_.get();
}

// The daemon counts silence alone, and a client may send a byte every few seconds.
void MetricsServer::endOld(Clock::time_point now) {
  if (now - lastLook_ < 1s) return;
  lastLook_ = now;
  for (const auto& [descriptor, began] : began_) {
    if (now - began > kLongestConnection) ::shutdown(descriptor, SHUT_RDWR);
  }
}

}  // namespace tarvel::viewer
