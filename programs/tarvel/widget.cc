#include "programs/tarvel/widget.h"

#include <chrono>
#include <optional>
#include <thread>

#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/line_template.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/widget_line.h"
#include "viewer/ending_signals.h"
#include "viewer/machine/machine_reader.h"
#include "viewer/panels.h"
#include "viewer/snapshot.h"
#include "viewer/viewer_session.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kLook = 500ms;           // between two looks at the store
constexpr auto kSample = 2s;            // between two samples of the machine's totals
constexpr auto kFirstInterval = 100ms;  // of the totals of a single line

// Only what the enabled panels keep fresh: the others stay in the store as they were.
Snapshot enabledReadings(DefaultsStore& store) {
  return readSnapshot(store, enabledReadingKeys(store.get(kPanelsKey)));
}

// The machine's totals as far as the template asks for them.
class Totals {
 public:
  explicit Totals(const LineOptions& options) {
    const auto has = [&](std::string_view field) {
      return options.text.find("{" + std::string(field)) != std::string::npos;
    };
    wanted_.processors = has("cpu") || options.format == LineFormat::waybar;
    wanted_.memory = has("mem") || has("swap");
    wanted_.load = has("load");
    wanted_.pressure = false;
    wanted_.disks = has("disk");
    wanted_.networks = has("net");
    wanted_.fileSystems = false;
    wanted_.battery = has("battery");
    refresh(Clock::now());
    std::this_thread::sleep_for(kFirstInterval);
  }

  const MachineTotals& refresh(Clock::time_point now) {
    if (!last_ || now - *last_ >= kSample || isFirst_) {
      totals_ = reader_.sample(now, wanted_);
      isFirst_ = !last_.has_value();
      last_ = now;
    }
    return totals_;
  }

 private:
  MachineReader reader_;
  MachineReader::Wanted wanted_;
  MachineTotals totals_;
  std::optional<Clock::time_point> last_;
  bool isFirst_ = false;
};

int printLines(DefaultsStore& store, const LineOptions& line, bool startsHelper) {
  const EndingSignals signals;
  ViewerSession session(kWidgetIdentifier, store, startsHelper);
  Totals totals(line);
  std::string shown;
  do {
    if (isOutputClosed()) return kNothing;
    session.keepHelper(Clock::now());
    const auto text = widgetLine(enabledReadings(store), totals.refresh(Clock::now()), line);
    if (!text || *text == shown) continue;
    shown = *text;
    if (printOut(shown + "\n") != kDone) return kNothing;
  } while (!signals.within(kLook));
  return kDone;
}

}  // namespace

int showLines(DefaultsStore& store, const WidgetOptions& options) {
  const auto format = lineFormatNamed(options.format);
  if (!format) throw CommandError(kUsage, options.format, "no such format");
  if (const auto fault = templateFault(options.text)) throw CommandError(kUsage, "--text", *fault);
  const LineOptions line = {*format, options.text};
  if (!options.once) return printLines(store, line, !options.noHelper);
  Totals totals(line);
  const auto snapshot = enabledReadings(store);
  const auto text = widgetLine(snapshot, totals.refresh(Clock::now()), line);
  if (!text) throw CommandError(kNothing, "readings", "none in the store");
  return printOut(*text + "\n");
}

}  // namespace tarvel::viewer
