#include "viewer/ending_signals.h"

#include <poll.h>
#include <unistd.h>

namespace tarvel::viewer {

EndingSignals::EndingSignals() {
  ::sigemptyset(&signals_);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD})
    ::sigaddset(&signals_, signal);
  ::sigprocmask(SIG_BLOCK, &signals_, nullptr);
  for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
}

bool EndingSignals::within(std::chrono::milliseconds time) const {
  const timespec limit = {time.count() / 1000, time.count() % 1000 * 1'000'000};
  const int signal = ::sigtimedwait(&signals_, nullptr, &limit);
  return signal > 0 && signal != SIGCHLD;
}

bool isOutputClosed() {
  pollfd output = {STDOUT_FILENO, 0, 0};
  return ::poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

}  // namespace tarvel::viewer
