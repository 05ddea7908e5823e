#include "platform/linux/desktop/desktop_index.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

#include "platform/host/files/small_file.h"

namespace tarvel {
namespace {

constexpr std::size_t kEntryLimit = 256 * 1024;  // bytes; entries with every translation have some
constexpr int kDepthLimit = 8;                   // folders below applications/
constexpr std::size_t kFolderLimit = 512;
constexpr std::size_t kEntriesLimit = 8192;

std::string environmentText(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

void append(std::vector<std::string>& folders, std::string folder) {
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  const bool known = std::find(folders.begin(), folders.end(), folder) != folders.end();
  if (folder.starts_with('/') && !known) folders.push_back(std::move(folder));
}

timespec changeTime(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mtim : timespec{};
}

bool isSame(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// The program's file where it is looked for along PATH; the name itself where it is not found.
std::string resolvedProgram(const std::string& program) {
  std::error_code error;
  const auto resolved = [&](const std::filesystem::path& path) -> std::string {
    const auto file = std::filesystem::canonical(path, error);
    return error ? std::string() : file.string();
  };
  if (program.find('/') != std::string::npos) {
    const auto path = resolved(program);
    return path.empty() ? program : path;
  }
  const std::string searched = environmentText("PATH") + ":";
  for (std::size_t start = 0; start < searched.size();) {
    const auto end = searched.find(':', start);
    const std::string folder = searched.substr(start, end - start);
    start = end + 1;
    if (!folder.starts_with('/')) continue;
    if (const auto path = resolved(folder + "/" + program); !path.empty()) return path;
  }
  return program;
}

std::string lastPart(std::string_view path) {
  return std::string(path.substr(path.rfind('/') + 1));
}

// The entry's own arguments without the field codes, which stand for files.
bool hasArguments(const DesktopIndex::Application& application,
                  const std::vector<std::string>& arguments) {
  const auto program = programWord(application.words);
  if (!program) return false;
  const auto begin = application.words.begin() + static_cast<std::ptrdiff_t>(*program) + 1;
  bool any = false;
  for (auto word = begin; word != application.words.end(); ++word) {
    if (word->starts_with('%')) continue;
    if (std::find(arguments.begin(), arguments.end(), *word) == arguments.end()) return false;
    any = true;
  }
  return any;
}

}  // namespace

std::vector<std::string> dataFolders() {
  std::vector<std::string> folders;
  const std::string home = environmentText("HOME");
  const std::string own = environmentText("XDG_DATA_HOME");
  append(folders, own.starts_with('/') ? own : home + "/.local/share");
  std::string shared = environmentText("XDG_DATA_DIRS");
  if (shared.empty()) shared = "/usr/local/share:/usr/share";
  shared += ':';
  for (std::size_t start = 0; start < shared.size();) {
    const auto end = shared.find(':', start);
    append(folders, shared.substr(start, end - start));
    start = end + 1;
  }
  append(folders, home + "/.local/share/flatpak/exports/share");
  append(folders, "/var/lib/flatpak/exports/share");
  append(folders, "/var/lib/snapd/desktop");
  return folders;
}

bool DesktopIndex::isCurrent() const {
  return !folders_.empty() && std::all_of(folders_.begin(), folders_.end(), [](const auto& folder) {
    return isSame(changeTime(folder.first), folder.second);
  });
}

bool DesktopIndex::refresh() {
  if (isCurrent()) return false;
  folders_.clear();
  visited_.clear();
  entriesRead_ = 0;
  byProgram_.clear();
  byPath_.clear();
  byIdentifier_.clear();
  for (const auto& folder : dataFolders_) readFolder(folder + "/applications", "");
  for (const auto& [identifier, application] : byIdentifier_) {
    if (!application) continue;
    byPath_[application->path] = &*application;
    addProgram(*application);
  }
  return true;
}

void DesktopIndex::readFolder(const std::string& folder, const std::string& below) {
  struct stat status {};
  const bool exists = ::stat(folder.c_str(), &status) == 0;
  folders_[folder] = exists ? status.st_mtim : timespec{};
  if (!exists || folders_.size() > kFolderLimit) return;
  if (!visited_.emplace(status.st_dev, status.st_ino).second) return;
  if (std::count(below.begin(), below.end(), '/') > kDepthLimit) return;
  std::error_code error;
  std::vector<std::string> names;
  for (std::filesystem::directory_iterator file(folder, error), end;
       !error && file != end && names.size() < kEntriesLimit; file.increment(error)) {
    names.push_back(file->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  for (const auto& name : names) {
    const std::string path = folder + "/" + name;
    if (name.ends_with(".desktop")) {
      addEntry(path, below + name);
    } else if (std::filesystem::is_directory(path, error)) {
      readFolder(path, below + name + "/");
    }
  }
}

// The first entry of an identifier decides, also one that says that it is deleted.
void DesktopIndex::addEntry(const std::string& path, const std::string& pathBelow) {
  const auto identifier = desktopFileIdentifier(pathBelow);
  if (!identifier || byIdentifier_.contains(*identifier) || ++entriesRead_ > kEntriesLimit) return;
  const auto text = readSmallFile(path, kEntryLimit);
  auto entry = text ? parseDesktopEntry(*text) : std::nullopt;
  if (!entry) return;
  auto& known = byIdentifier_[*identifier];
  if (!entry->isApplication) return;
  known = Application{*identifier, path, std::move(entry->icon), std::move(entry->words)};
}

void DesktopIndex::addProgram(const Application& application) {
  const auto word = programWord(application.words);
  if (!word) return;
  const std::string program = resolvedProgram(application.words[*word]);
  const std::string name = lastPart(program);
  if (isLauncher(name)) return;
  byProgram_[program].push_back(&application);
  if (name != program) byProgram_[name].push_back(&application);
}

std::size_t DesktopIndex::size() const {
  return static_cast<std::size_t>(std::count_if(byIdentifier_.begin(), byIdentifier_.end(),
                                                [](const auto& entry) { return entry.second; }));
}

const DesktopIndex::Application* DesktopIndex::withIdentifier(std::string_view identifier) const {
  const auto found = byIdentifier_.find(identifier);
  if (found == byIdentifier_.end()) return nullptr;
  const auto& application = found->second;
  return application ? &*application : nullptr;
}

const DesktopIndex::Application* DesktopIndex::atPath(std::string_view path) const {
  const auto found = byPath_.find(path);
  return found != byPath_.end() ? found->second : nullptr;
}

const DesktopIndex::Application* DesktopIndex::startingProgram(const std::string& path,
                                                               const Arguments& arguments) const {
  const std::string name = lastPart(path);
  if (isLauncher(name)) return nullptr;
  for (const auto& key : {path, name}) {
    const auto found = byProgram_.find(key);
    if (found != byProgram_.end()) return chooseAmong(found->second, name, arguments);
  }
  return nullptr;
}

const DesktopIndex::Application* DesktopIndex::chooseAmong(
    const std::vector<const Application*>& claimants, std::string_view programName,
    const Arguments& arguments) const {
  if (claimants.size() == 1) return claimants.front();
  const auto given = arguments();
  for (const auto* claimant : claimants) {
    if (hasArguments(*claimant, given)) return claimant;
  }
  for (const auto* claimant : claimants) {
    if (claimant->identifier == programName) return claimant;
  }
  for (const auto* claimant : claimants) {
    if (claimant->identifier.ends_with("." + std::string(programName))) return claimant;
  }
  return nullptr;
}

}  // namespace tarvel
