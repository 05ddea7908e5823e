#include "programs/tarvel/widget.h"

#include <chrono>
#include <optional>

#include "platform/host/presence/application_registry.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/widget_line.h"
#include "viewer/ending_signals.h"
#include "viewer/snapshot.h"

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
