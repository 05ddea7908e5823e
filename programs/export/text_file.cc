#include "programs/export/text_file.h"

#include <chrono>
#include <optional>

#include "platform/host/files/atomic_file.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "programs/export/document.h"
#include "programs/tarvel/commands.h"
#include "viewer/ending_signals.h"
#include "viewer/viewer_session.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

using Clock = std::chrono::steady_clock;

constexpr auto kLook = 200ms;         // between two looks at the store
constexpr auto kLongestSilence = 3s;  // between two files

// What a new file is written for.
struct Seen {
  DefaultsStore::ChangeToken store;
  bool isHelperRunning = false;
  bool operator==(const Seen&) const = default;
};

void replace(const std::string& file, const std::string& text) {
  if (replaceFile(file, text, FileReaders::all)) return;
  throw CommandError(kNothing, file, "cannot be written");
}

void writeChanges(DefaultsStore& store, const std::string& file, ProcessLabels labels,
                  bool startsHelper) {
  const EndingSignals signals;
  ViewerSession session(kViewerIdentifier, store, startsHelper);
  Document document(store, session.registry(), labels);
  std::optional<Seen> written;
  Clock::time_point last;
  do {
    const auto now = Clock::now();
    session.keepHelper(now);
    document.watch(now);
    const Seen seen{store.changeToken(), session.isHelperRunning()};
    if (written == seen && now - last < kLongestSilence) continue;
    written = seen;
    last = now;
    replace(file, document.text(now));
  } while (!signals.within(kLook));
}

}  // namespace

int writeTextFile(DefaultsStore& store, const std::string& file, ProcessLabels labels,
                  bool startsHelper) {
  writeChanges(store, file, labels, startsHelper);
  replace(file, Document::ended());
  return kDone;
}

}  // namespace tarvel::viewer
