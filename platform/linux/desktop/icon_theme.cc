#include "platform/linux/desktop/icon_theme.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>

#include <unistd.h>

#include "platform/host/files/small_file.h"

namespace tarvel {
namespace {

constexpr std::size_t kIndexLimit = 1024 * 1024;  // bytes of an index.theme
constexpr std::array<std::string_view, 3> kExtensions = {".png", ".svg", ".xpm"};
constexpr double kShownPoints = 48;
constexpr std::size_t kThemeFolders = 1024;  // hicolor has some 650
constexpr std::size_t kThemes = 16;          // of a chain
constexpr std::size_t kNames = 4096;         // of a theme's folder

using Group = std::map<std::string, std::string, std::less<>>;
using KeyFile = std::map<std::string, Group, std::less<>>;

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

KeyFile readKeyFile(const std::string& path) {
  KeyFile file;
  const std::string whole = readSmallFile(path, kIndexLimit).value_or("");
  Group* group = nullptr;
  for (std::string_view text = whole; !text.empty();) {
    const auto end = std::min(text.find('\n'), text.size());
    const auto line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with('[') && line.ends_with(']')) {
      group = &file[std::string(line.substr(1, line.size() - 2))];
    } else if (const auto equals = line.find('=');
               group != nullptr && !line.starts_with('#') && equals != std::string_view::npos) {
      group->emplace(trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
    }
  }
  return file;
}

std::string valueOf(const KeyFile& file, std::string_view group, std::string_view key) {
  const auto found = file.find(group);
  if (found == file.end()) return {};
  const auto value = found->second.find(key);
  return value != found->second.end() ? value->second : std::string();
}

int numberOf(const KeyFile& file, const std::string& group, std::string_view key, int otherwise) {
  const std::string text = valueOf(file, group, key);
  int number = otherwise;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::vector<std::string> listOf(const std::string& text) {
  std::vector<std::string> list;
  for (std::size_t start = 0; start <= text.size();) {
    const auto end = std::min(text.find(',', start), text.size());
    const auto item = trimmed(std::string_view(text).substr(start, end - start));
    if (!item.empty()) list.emplace_back(item);
    start = end + 1;
  }
  return list;
}

struct ThemeFolder {
  std::string path;  // below the theme's folder
  double points = 0;
  int scale = 1;
  int largest = 0;          // points of the largest raster that belongs there
  bool holdsShown = false;  // whether a drawing of any size may be shown at 48 points
};

ThemeFolder themeFolder(const KeyFile& index, const std::string& path) {
  ThemeFolder folder{path};
  const int size = numberOf(index, path, "Size", 0);
  folder.points = size;
  folder.scale = std::clamp(numberOf(index, path, "Scale", 1), 1, 8);
  const std::string type = valueOf(index, path, "Type");
  const int threshold = numberOf(index, path, "Threshold", 2);
  const bool scalable = type == "Scalable";
  const bool fixed = type == "Fixed";
  const int least =
      scalable ? numberOf(index, path, "MinSize", size) : size - (fixed ? 0 : threshold);
  const int most =
      scalable ? numberOf(index, path, "MaxSize", size) : size + (fixed ? 0 : threshold);
  folder.largest = scalable ? std::max(most, size) : size;
  folder.holdsShown = least <= kShownPoints && most >= kShownPoints;
  return folder;
}

struct Theme {
  std::vector<std::string> roots;  // the theme's folder in every base folder that has one
  std::vector<ThemeFolder> folders;
  std::vector<std::string> parents;
};

// The first index of the theme tells its folders; their files come from every base folder.
std::optional<Theme> readTheme(const std::string& name, const IconFolders& where) {
  Theme theme;
  KeyFile index;
  std::error_code error;
  std::set<std::string> present;  // the first parts of the folders that are there
  for (const auto& base : where.base) {
    const std::string root = base + "/" + name;
    if (::access(root.c_str(), X_OK) != 0) continue;
    theme.roots.push_back(root);
    if (index.empty()) index = readKeyFile(root + "/index.theme");
    for (std::filesystem::directory_iterator entry(root, error), end; !error && entry != end;
         entry.increment(error)) {
      if (present.size() >= kNames) break;
      present.insert(entry->path().filename().string());
    }
  }
  if (index.empty()) return std::nullopt;
  auto paths = listOf(valueOf(index, "Icon Theme", "Directories"));
  const auto scaled = listOf(valueOf(index, "Icon Theme", "ScaledDirectories"));
  paths.insert(paths.end(), scaled.begin(), scaled.end());
  std::set<std::string> taken;
  for (const auto& path : paths) {
    const bool inside = path.find("..") == std::string::npos;
    if (theme.folders.size() >= kThemeFolders) break;
    if (inside && taken.insert(path).second && present.contains(path.substr(0, path.find('/')))) {
      theme.folders.push_back(themeFolder(index, path));
    }
  }
  theme.parents = listOf(valueOf(index, "Icon Theme", "Inherits"));
  return theme;
}

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

bool isVector(const std::string& path) { return path.ends_with(".svg"); }

std::uint32_t pixelsOf(double points, int scale) {
  return static_cast<std::uint32_t>(points * scale);
}

IconFile vectorIn(const ThemeFolder& folder, const std::string& path) {
  const double points = folder.holdsShown ? kShownPoints : folder.points;
  return {path, points, folder.scale, pixelsOf(points, folder.scale)};
}

IconFile rasterIn(const ThemeFolder& folder, const std::string& path) {
  return {path, folder.points, folder.scale, pixelsOf(folder.largest, folder.scale)};
}

// A file outside the themes, of which nothing is known.
IconFile plainFile(const std::string& path) {
  IconFile file{path};
  if (isVector(path)) file.pixels = pixelsOf(kShownPoints, 1);
  return file;
}

std::vector<IconFile> filesIn(const Theme& theme, const std::string& name) {
  std::vector<IconFile> files;
  for (const auto& folder : theme.folders) {
    for (const auto& root : theme.roots) {
      const std::string place = root + "/" + folder.path;
      if (!exists(place)) continue;
      for (const auto extension : kExtensions) {
        const std::string path = place + "/" + name + std::string(extension);
        if (!exists(path)) continue;
        files.push_back(isVector(path) ? vectorIn(folder, path) : rasterIn(folder, path));
      }
    }
  }
  return files;
}

void order(std::vector<IconFile>& files) {
  const auto rank = [](const IconFile& file) { return isVector(file.path) ? 0 : file.scale; };
  std::stable_sort(files.begin(), files.end(), [&](const IconFile& a, const IconFile& b) {
    const double distanceA = std::abs(a.points - kShownPoints);
    const double distanceB = std::abs(b.points - kShownPoints);
    if (distanceA < distanceB || distanceB < distanceA) return distanceA < distanceB;
    if (a.points < b.points || b.points < a.points) return a.points > b.points;
    return rank(a) < rank(b);
  });
}

// The theme, its ancestors depth first, hicolor last; themes may inherit from each other in
// circles.
void appendChain(const std::string& name, const IconFolders& where, std::set<std::string>& visited,
                 std::vector<Theme>& chain) {
  if (name == "hicolor" || name.find('/') != std::string::npos || visited.size() >= kThemes ||
      !visited.insert(name).second) {
    return;
  }
  const auto theme = readTheme(name, where);
  if (!theme) return;
  chain.push_back(*theme);
  for (const auto& parent : theme->parents) appendChain(parent, where, visited, chain);
}

std::vector<IconFile> themedFiles(const std::string& name, const IconFolders& where) {
  std::vector<Theme> chain;
  std::set<std::string> visited;
  appendChain(where.theme, where, visited, chain);
  if (auto hicolor = readTheme("hicolor", where)) chain.push_back(std::move(*hicolor));
  for (const auto& theme : chain) {
    auto files = filesIn(theme, name);
    if (!files.empty()) return files;
  }
  return {};
}

std::vector<IconFile> pixmapFiles(const std::string& name, const IconFolders& where) {
  for (const auto& folder : where.pixmaps) {
    for (const auto extension : kExtensions) {
      const std::string path = folder + "/" + name + std::string(extension);
      if (exists(path)) return {plainFile(path)};
    }
  }
  return {};
}

std::string environmentText(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string userTheme(const std::string& home) {
  std::string configuration = environmentText("XDG_CONFIG_HOME");
  if (!configuration.starts_with('/')) configuration = home + "/.config";
  const auto gtk = readKeyFile(configuration + "/gtk-3.0/settings.ini");
  std::string theme = valueOf(gtk, "Settings", "gtk-icon-theme-name");
  if (theme.empty()) theme = valueOf(readKeyFile(configuration + "/kdeglobals"), "Icons", "Theme");
  return theme.empty() ? "hicolor" : theme;
}

}  // namespace

IconFolders userIconFolders(const std::vector<std::string>& dataFolders) {
  const std::string home = environmentText("HOME");
  IconFolders folders;
  folders.base.push_back(home + "/.icons");
  for (const auto& folder : dataFolders) {
    folders.base.push_back(folder + "/icons");
    folders.pixmaps.push_back(folder + "/pixmaps");
  }
  folders.pixmaps.emplace_back("/usr/share/pixmaps");
  folders.theme = userTheme(home);
  return folders;
}

std::vector<IconFile> iconFiles(const std::string& name, const IconFolders& folders) {
  if (name.starts_with('/')) {
    return exists(name) ? std::vector{plainFile(name)} : std::vector<IconFile>{};
  }
  if (name.empty() || name.find('/') != std::string::npos || name == "..") return {};
  std::string bare = name;
  for (const auto extension : kExtensions) {
    if (bare.ends_with(extension)) bare.resize(bare.size() - extension.size());
  }
  auto files = themedFiles(bare, folders);
  if (files.empty()) files = pixmapFiles(bare, folders);
  order(files);
  return files;
}

}  // namespace tarvel
