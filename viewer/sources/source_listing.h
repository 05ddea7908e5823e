#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

// Where the readings of the sensors come from, as `tarvel doctor --sensors` lists it. That program
// looks at every driver, which takes a tenth of a second and may hang: it runs beside the one that
// draws, once.

namespace tarvel::viewer {

struct ListedSource {
  std::string chip;  // "iwlwifi_1 temp1"
  std::string file;
  std::string model;  // of a drive; empty without one
};

class SourceListing {
 public:
  // Starts the listing where that has not happened yet. Does not wait.
  void request();

  // Waits until the listing that was requested is there, or for so long at most: a driver may hang.
  // Whether it is there.
  bool wait(std::chrono::milliseconds longest) const;

  // The source of the sensor at this place among those of its name, in the panel of this short
  // name; none while the listing is not there, and where it does not know the sensor.
  std::optional<ListedSource> of(std::string_view panel, const std::string& sensor,
                                 std::size_t place) const;

 private:
  using Key = std::tuple<std::string, std::string, std::size_t>;
  using Sources = std::map<Key, ListedSource>;

  // Shared with the thread that waits for the program, which may outlive the viewer's end.
  struct State {
    std::mutex mutex;
    std::condition_variable ended;
    bool hasEnded = false;
    Sources sources;
  };

  static Sources list();

  std::shared_ptr<State> state_;
};

}  // namespace tarvel::viewer
