#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>

#include "platform/host/presence/application_registry.h"
#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "programs/export/document.h"
#include "programs/export/metrics_server.h"
#include "programs/export/text_file.h"
#include "programs/tarvel/command_line.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"
#include "viewer/ending_signals.h"
#include "viewer/viewer_session.h"

// `tarvel-export`: what `tarvel export` becomes, so that `tarvel` carries no web server.

namespace {

using namespace std::chrono_literals;
using namespace tarvel;
using namespace tarvel::viewer;

constexpr auto kServing = 500ms;        // between two looks for a signal and for the helper
constexpr auto kFirstInterval = 100ms;  // of the machine's shares in a single document

struct Arguments {
  std::string file;
  std::string address;
  ProcessLabels labels = ProcessLabels::kGroups;
  bool startsHelper = true;
};

int serve(DefaultsStore& store, const Arguments& arguments) {
  const EndingSignals signals;
  ViewerSession session(kViewerIdentifier, store, arguments.startsHelper);
  Document document(store, session.registry(), arguments.labels);
  MetricsServer server(arguments.address, [&](auto now) { return document.text(now); });
  std::fprintf(stderr, "tarvel: serving %s\n", server.url().c_str());
  auto next = Document::Clock::now();
  while (!signals.within(0ms)) {
    if (const auto now = Document::Clock::now(); now >= next) {
      next = now + kServing;
      session.keepHelper(now);
      document.watch(now);
    }
    server.serve(kServing);
  }
  return kDone;
}

int print(DefaultsStore& store, const Arguments& arguments) {
  const ApplicationRegistry registry;
  Document document(store, registry, arguments.labels);
  std::this_thread::sleep_for(kFirstInterval);
  return printOut(document.text(Document::Clock::now()));
}

int run(const Arguments& arguments) {
  const auto log = makeSystemLog();
  DefaultsStore store(kSuiteName, *log);
  if (!arguments.file.empty()) {
    return writeTextFile(store, arguments.file, arguments.labels, arguments.startsHelper);
  }
  return arguments.address.empty() ? print(store, arguments) : serve(store, arguments);
}

int parseAndRun(int argc, char** argv) {
  Arguments arguments;
  bool byPid = false;
  bool noHelper = false;
  CLI::App app("Export the readings for Prometheus.", "tarvel-export");
  auto* file = app.add_option("--textfile", arguments.file, "write to this file");
  app.add_option("--listen", arguments.address, "serve at HOST:PORT, or at PORT of the loopback")
      ->excludes(file);
  app.add_flag("--by-pid", byPid, "each process by its id");
  app.add_flag("--no-helper", noHelper, "do not start a helper");
  const auto status = parsed(app, argc, argv, [] { return ""; });
  if (status) return *status;
  arguments.startsHelper = !noHelper;
  if (byPid) arguments.labels = ProcessLabels::kProcesses;
  return run(arguments);
}

}  // namespace

int main(int argc, char** argv) {
  return statusOf([&] { return parseAndRun(argc, argv); });
}
