#include <QApplication>
#include <QCommandLineParser>
#include <QSocketNotifier>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/presence/activation.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/version.h"
#include "programs/window/main_window.h"

// tarvel-window [--page NAME] [--hidden] [--no-helper]: the viewer with a window. There is one of
// it: another start brings the one that runs to the front.

namespace {

using namespace tarvel;
using namespace tarvel::viewer;
using namespace std::chrono_literals;

struct Options {
  QString page;
  bool isHidden = false;
  bool startsHelper = true;
};

std::string activationToken() {
  for (const char* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
    if (const char* token = std::getenv(name)) return token;
  }
  return {};
}

// Passes the request on where another window came first; the exit status then.
std::optional<int> leaveToOther(const ApplicationRegistry& registry, const Options& options) {
  constexpr int kTries = 50;  // it may be starting itself
  for (int i = 0; i < kTries; ++i) {
    const auto windows = registry.running(kWindowIdentifier);
    if (windows.empty() || windows.front().isCurrent) return std::nullopt;
    const std::string message = options.page.toStdString() + "\n" + activationToken();
    if (options.isHidden || askToActivate(registry, windows.front(), message)) return 0;
    std::this_thread::sleep_for(100ms);
  }
  std::fputs("tarvel: window: one runs already and does not answer\n", stderr);
  return 1;
}

Options optionsOf(const QApplication& application) {
  QCommandLineParser parser;
  parser.setApplicationDescription("Tarvel, a system monitor: the window.");
  parser.addHelpOption();
  parser.addVersionOption();
  parser.addOptions({{"page", "show this page: overview, processes, sensors or panels", "NAME"},
                     {"hidden", "start in the tray; minimised where there is none"},
                     {"no-helper", "do not start a helper"}});
  parser.process(application);
  return {parser.value("page"), parser.isSet("hidden"), !parser.isSet("no-helper")};
}

// Signals that end a program end it as a closed window does.
FileDescriptor endingSignals() {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaddset(&set, signal);
  ::sigprocmask(SIG_BLOCK, &set, nullptr);
  return FileDescriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

// A request is a page, which may be empty, and on the next line a token.
void answer(ActivationInbox& inbox, MainWindow& window) {
  while (const auto message = inbox.take()) {
    const auto text = QString::fromStdString(*message);
    window.showPage(text.section('\n', 0, 0));
    window.comeToFront(text.section('\n', 1, 1));
  }
}

int run(QApplication& application, const Options& options, const FileDescriptor& signals) {
  if (!options.page.isEmpty() && !MainWindow::isPage(options.page)) {
    std::fprintf(stderr, "tarvel: window: %s: no such page\n", options.page.toUtf8().data());
    return 2;
  }
  const ApplicationRegistry registry(kWindowIdentifier);
  if (const auto status = leaveToOther(registry, options)) return *status;
  ActivationInbox inbox(registry, std::string(kWindowIdentifier));
  const auto log = makeSystemLog();
  DefaultsStore store(kSuiteName, *log);
  WindowSettings settings;
  MainWindow::Setting setting;
  setting.startsHelper = options.startsHelper;
  MainWindow window(store, settings, std::move(setting));
  window.showPage(options.page);
  QSocketNotifier ended(signals.get(), QSocketNotifier::Read);
  QObject::connect(&ended, &QSocketNotifier::activated, &application, &QApplication::quit);
  std::optional<QSocketNotifier> asked;
  if (inbox.descriptor() >= 0) {
    asked.emplace(inbox.descriptor(), QSocketNotifier::Read);
    QObject::connect(&*asked, &QSocketNotifier::activated, &window, [&] { answer(inbox, window); });
  }
  if (options.isHidden) {
    window.startHidden();
  } else {
    window.show();
  }
  return QApplication::exec();
}

// Qt can do nothing without a screen but end the program.
void sayThatNoScreenIsThere(QtMsgType type, const QMessageLogContext&, const QString&) {
  if (type != QtFatalMsg) return;
  std::fputs("tarvel: window: no screen: DISPLAY and WAYLAND_DISPLAY name none that answers\n",
             stderr);
  std::_Exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  const FileDescriptor signals = endingSignals();
  const auto usual = qInstallMessageHandler(sayThatNoScreenIsThere);
  QApplication application(argc, argv);
  qInstallMessageHandler(usual);
  QApplication::setApplicationName("Tarvel");
  QApplication::setApplicationVersion(
      QString::fromUtf8(kVersion.data(), static_cast<qsizetype>(kVersion.size())));
  QGuiApplication::setDesktopFileName("tarvel-window");
  QApplication::setQuitOnLastWindowClosed(false);  // it may go on in the tray
  return run(application, optionsOf(application), signals);
}
