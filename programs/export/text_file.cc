#include "programs/tarvel/export.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <thread>

#include "platform/host/files/atomic_file.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/metrics.h"
#include "programs/tarvel/metrics_server.h"
#include "programs/tarvel/output.h"
#include "viewer/ending_signals.h"
#include "viewer/machine/machine_reader.h"
#include "viewer/snapshot.h"
#include "viewer/viewer_session.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

using Clock = std::chrono::steady_clock;

constexpr auto kLook = 200ms;           // between two looks at the store
constexpr auto kServing = 500ms;        // between two looks for a signal
constexpr auto kLongestSilence = 3s;    // between two files
constexpr auto kFirstInterval = 100ms;  // of the machine's rates in a single document

// What is exported, at each moment that somebody asks for it.
class Document {
 public:
  explicit Document(DefaultsStore& store) : store_(store) { machine_.sample(Clock::now(), {}); }

  std::string text(const ApplicationRegistry& registry) {
    const bool helperRuns = !registry.running(kHelperIdentifier).empty();
    return metricsOf(readSnapshot(store_, readingKeys()), helperRuns) +
           metricsOf(machine_.sample(Clock::now(), {}));
  }

 private:
  DefaultsStore& store_;
  MachineReader machine_;
};

// Rewritten after every change, and where nothing changes often enough for a collector to see that
// the readings have grown old and the helper is gone.
int writeChanges(DefaultsStore& store, const std::string& file) {
  const EndingSignals signals;
  ViewerSession session(kViewerIdentifier, store, true);
  Document document(store);
  std::optional<DefaultsStore::ChangeToken> written;
  std::optional<Clock::time_point> last;
  do {
    const auto now = Clock::now();
    session.keepHelper(now);
    const auto token = store.changeToken();
    if (written == token && last && now - *last < kLongestSilence) continue;
    written = token;
    last = now;
    if (!replaceFile(file, document.text(session.registry()), FileReaders::all)) {
      throw CommandError(kNothing, file, "cannot be written");
    }
  } while (!signals.within(kLook));
  return kDone;
}

int serve(DefaultsStore& store, const std::string& address) {
  const EndingSignals signals;
  ViewerSession session(kViewerIdentifier, store, true);
  Document document(store);
  MetricsServer server(address, [&] { return document.text(session.registry()); });
  std::fprintf(stderr, "tarvel: serving %s\n", server.url().c_str());
  while (!signals.within(0ms)) {
    session.keepHelper(Clock::now());
    server.serve(kServing);
  }
  return kDone;
}

}  // namespace

int exportReadings(DefaultsStore& store, const ExportOptions& options) {
  if (!options.textFile.empty()) return writeChanges(store, options.textFile);
  if (!options.address.empty()) return serve(store, options.address);
  Document document(store);
  std::this_thread::sleep_for(kFirstInterval);
  return printOut(document.text(ApplicationRegistry()));
}

}  // namespace tarvel::viewer
