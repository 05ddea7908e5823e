#pragma once

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

struct WatchOptions {
  bool once = false;
  bool json = false;
  bool noHelper = false;
};

// Shows the readings while it runs, as the running application "com.Tarvel": on a terminal until a
// signal ends it, elsewhere or once as a snapshot when the enabled panels have their readings, ten
// seconds at the latest. As JSON, one line at the start and one after every change.
int watch(DefaultsStore& store, const WatchOptions& options);

}  // namespace tarvel::viewer
