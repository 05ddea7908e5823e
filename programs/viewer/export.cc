#include "programs/viewer/export.h"

#include <chrono>
#include <optional>

#include "app/store_keys.h"
#include "platform/host/application_registry.h"
#include "platform/host/defaults_store.h"
#include "programs/viewer/commands.h"
#include "programs/viewer/ending_signals.h"
#include "programs/viewer/metrics.h"
#include "programs/viewer/metrics_server.h"
#include "programs/viewer/output.h"
#include "programs/viewer/replace_file.h"
#include "programs/viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kLook = 200ms;     // between two looks at the store
constexpr auto kServing = 500ms;  // between two looks for a signal

std::string document(DefaultsStore& store, const ApplicationRegistry& registry) {
  const bool helperRuns = !registry.running(kHelperIdentifier).empty();
  return metricsOf(readSnapshot(store, readingKeys()), helperRuns);
}

int writeChanges(DefaultsStore& store, const std::string& file) {
  const EndingSignals signals;
  const ApplicationRegistry registry(kViewerIdentifier);
  std::optional<DefaultsStore::ChangeToken> written;
  do {
    const auto token = store.changeToken();
    if (written == token) continue;
    written = token;
    if (!replaceFile(file, document(store, registry))) {
      throw CommandError(kNothing, file, "cannot be written");
    }
  } while (!signals.within(kLook));
  return kDone;
}

int serve(DefaultsStore& store, const std::string& address) {
  const EndingSignals signals;
  const ApplicationRegistry registry(kViewerIdentifier);
  MetricsServer server(address, [&] { return document(store, registry); });
  while (!signals.within(0ms)) server.serve(kServing);
  return kDone;
}

}  // namespace

int exportReadings(DefaultsStore& store, const ExportOptions& options) {
  if (!options.textFile.empty()) return writeChanges(store, options.textFile);
  if (!options.address.empty()) return serve(store, options.address);
  return printOut(document(store, ApplicationRegistry()));
}

}  // namespace tarvel::viewer
