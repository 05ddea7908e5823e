#pragma once

#include <string>

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

struct WidgetOptions {
  std::string format = "plain";
  std::string text;  // a template; empty: the usual line
  bool once = false;
  bool noHelper = false;
};

// One line for a status bar, and another after every change of it, until a signal ends it or
// nobody reads any more; or one line only. Runs as the application "com.Tarvel.Widget" and starts a
// helper where none runs, but for a single line, which shows what is there.
int showLines(DefaultsStore& store, const WidgetOptions& options);

}  // namespace tarvel::viewer
