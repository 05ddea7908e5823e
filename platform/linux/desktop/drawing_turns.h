#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace tarvel {

// Who may look for an icon or draw it, and when. Two at most do so at once, one for an application.
// An icon that was drawn and is asked for again could not be drawn or not be stored (a full disk, a
// name that is too long): there is no turn for it before the pause has passed, but at once where
// the folder that keeps the icons is another one, and after forget(). Any thread.
class DrawingTurns {
 public:
  // Held for as long as the drawing takes; may outlive the object that gave it.
  using Turn = std::shared_ptr<const void>;

  // The identity of the folder that keeps the icons is any text.
  DrawingTurns(std::chrono::seconds pause, std::function<std::string()> folderIdentity);

  // Whether a turn would be had now.
  bool isFree(const std::string& application) const;

  // Null where there is none.
  Turn take(const std::string& application);

  // The desktop's entries have changed: what failed may succeed now.
  void forget();

 private:
  struct Drawn {
    std::string folder;
    std::chrono::steady_clock::time_point at;
  };
  struct State {
    std::mutex mutex;  // guards what follows
    std::set<std::string> drawing;
    std::map<std::string, Drawn> drawn;
  };

  bool isFreeIn(const std::string& application, const std::string& folder) const;

  const std::chrono::seconds pause_;
  const std::function<std::string()> folderIdentity_;
  const std::shared_ptr<State> state_;
};

}  // namespace tarvel
