#include "programs/tarvel/export.h"

#include <chrono>
#include <optional>

#include "platform/host/presence/application_registry.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/metrics.h"
#include "programs/tarvel/metrics_server.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/replace_file.h"
#include "viewer/ending_signals.h"
#include "viewer/snapshot.h"

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
