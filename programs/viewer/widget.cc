#include "programs/viewer/widget.h"

#include <chrono>
#include <optional>

#include "app/store_keys.h"
#include "platform/host/application_registry.h"
#include "platform/host/defaults_store.h"
#include "programs/viewer/commands.h"
#include "programs/viewer/ending_signals.h"
#include "programs/viewer/output.h"
#include "programs/viewer/snapshot.h"
#include "programs/viewer/widget_line.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kLook = 500ms;  // between two looks at the store

std::optional<std::string> lineOf(DefaultsStore& store, LineFormat format) {
  return widgetLine(readSnapshot(store, readingKeys()), format);
}

int printLines(DefaultsStore& store, LineFormat format) {
  const EndingSignals signals;
  const ApplicationRegistry registration(kWidgetIdentifier);
  std::optional<DefaultsStore::ChangeToken> seen;
  std::string shown;
  do {
    if (isOutputClosed()) return kNothing;
    const auto token = store.changeToken();
    if (seen == token) continue;
    seen = token;
    const auto line = lineOf(store, format);
    if (!line || *line == shown) continue;
    shown = *line;
    if (printOut(shown + "\n") != kDone) return kNothing;
  } while (!signals.within(kLook));
  return kDone;
}

}  // namespace

int showLines(DefaultsStore& store, const std::string& format, bool once) {
  const auto known = lineFormatNamed(format);
  if (!known) throw CommandError(kUsage, format, "no such format");
  if (!once) return printLines(store, *known);
  const auto line = lineOf(store, *known);
  if (!line) throw CommandError(kNothing, "readings", "none in the store");
  return printOut(*line + "\n");
}

}  // namespace tarvel::viewer
