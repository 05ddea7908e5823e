#pragma once

#include <string>

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

// One line for a status bar, and another after every change of it, until a signal ends it or
// nobody reads any more; or one line only. Runs as the application "com.Tarvel.Widget". Starts no
// helper and writes nothing: it shows what others let be measured.
int showLines(DefaultsStore& store, const std::string& format, bool once);

}  // namespace tarvel::viewer
