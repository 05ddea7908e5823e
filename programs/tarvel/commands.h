#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// The commands of `tarvel`, one function each. They return the exit status: 0 done, 1 nothing there
// or refused, 2 wrong usage. What they refuse, they throw as a CommandError, which main turns into
// the one line on standard error.

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

inline constexpr int kDone = 0;
inline constexpr int kNothing = 1;
inline constexpr int kUsage = 2;

class CommandError : public std::runtime_error {
 public:
  CommandError(int exitStatus, const std::string& what, const std::string& why)
      : std::runtime_error(what + ": " + why), status(exitStatus) {}

  const int status;
};

int printPanels(DefaultsStore& store, bool json);
int switchPanels(DefaultsStore& store, const std::vector<std::string>& names, bool enabled);

// Without keys all readings.
int showReadings(DefaultsStore& store, const std::vector<std::string>& keys, bool json);

int setFlag(DefaultsStore& store, const std::string& key, const std::string& sensor,
            const std::string& value);

// The viewers' own name for a sensor, kept in their settings; an empty one removes it.
int setAlias(const std::string& key, const std::string& sensor, const std::string& name);

// "updates", "uninstall" or "clear-sensors". On a terminal, "uninstall" is asked about first,
// unless it was confirmed already, and the outcome of each is told.
int requestAction(DefaultsStore& store, const std::string& action, bool isConfirmed);

enum class DefaultsFormat { kIndented, kOneLine, kRaw };
int readDefaults(DefaultsStore& store, const std::optional<std::string>& key,
                 DefaultsFormat format);
int writeDefaultsJson(DefaultsStore& store, const std::string& key, const std::string& json);
int writeDefaultsData(DefaultsStore& store, const std::string& key, const std::string& file);
int deleteDefaults(DefaultsStore& store, const std::string& key);

}  // namespace tarvel::viewer
