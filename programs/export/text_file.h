#pragma once

#include <string>

#include "programs/export/process_families.h"

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

// Rewrites the file until a signal ends it, as the running application "com.Tarvel", with a
// helper that it starts or without: after every
// change of the store, when a helper comes or goes, and every three seconds at the latest. Each
// time the file is replaced as a whole; everybody may read it. At the end it says that no helper is
// up, since whoever collects it would take the last readings for present ones. Throws a
// CommandError where it cannot be written. The exit status.
int writeTextFile(DefaultsStore& store, const std::string& file, ProcessLabels labels,
                  bool startsHelper);

}  // namespace tarvel::viewer
