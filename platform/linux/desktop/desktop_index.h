#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "platform/linux/desktop/desktop_entry.h"

// The desktop entries of this user, by identifier and by the program that they start. Not safe for
// use by two threads at once.

namespace tarvel {

// $XDG_DATA_HOME and $XDG_DATA_DIRS with their defaults, then what sandboxes export, which the
// environment of a daemon misses; the first is the most important.
std::vector<std::string> dataFolders();

class DesktopIndex {
 public:
  struct Application {
    std::string identifier;
    std::string path;  // of the entry
    std::string icon;
    std::vector<std::string> words;
  };

  explicit DesktopIndex(std::vector<std::string> folders) : dataFolders_(std::move(folders)) {}
  DesktopIndex(const DesktopIndex&) = delete;
  DesktopIndex& operator=(const DesktopIndex&) = delete;

  // Whether no folder has changed since the entries were read; false before.
  bool isCurrent() const;

  // Reads the entries again where a folder of theirs has changed: true when it did. Folders that
  // links lead to more than once are read once; 512 folders and 8192 entries are read at most.
  bool refresh();

  // How many applications there are.
  std::size_t size() const;

  // Entries that are deleted or no applications are not found.
  const Application* withIdentifier(std::string_view identifier) const;
  const Application* atPath(std::string_view path) const;

  using Arguments = std::function<std::vector<std::string>()>;

  // The application that starts the program at this absolute path. Where several do, the one whose
  // own arguments are all among those of the process, which are asked for only then, else the one
  // named for the program, "org.a.prog" too.
  const Application* startingProgram(const std::string& path, const Arguments& arguments) const;

 private:
  void readFolder(const std::string& folder, const std::string& below);
  void addEntry(const std::string& path, const std::string& pathBelow);
  void addProgram(const Application& application);
  const Application* chooseAmong(const std::vector<const Application*>& claimants,
                                 std::string_view programName, const Arguments& arguments) const;

  std::vector<std::string> dataFolders_;
  std::map<std::string, timespec> folders_;  // every folder that was read, with its change time
  std::set<std::pair<dev_t, ino_t>> visited_;
  std::size_t entriesRead_ = 0;
  std::map<std::string, std::optional<Application>, std::less<>> byIdentifier_;
  std::map<std::string, const Application*, std::less<>> byPath_;
  std::map<std::string, std::vector<const Application*>, std::less<>> byProgram_;
};

}  // namespace tarvel
