#pragma once

#include <string>

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

// At most one of the two.
struct ExportOptions {
  std::string textFile;
  std::string address;  // "HOST:PORT"
};

// The readings for Prometheus: once to standard output, or until a signal ends it, as the running
// application "com.Tarvel", into a file after every change or to whoever asks over HTTP.
int exportReadings(DefaultsStore& store, const ExportOptions& options);

}  // namespace tarvel::viewer
