#include "platform/linux/desktop/desktop_entry.h"

#include <algorithm>
#include <array>

namespace tarvel {
namespace {

constexpr std::array<std::string_view, 27> kLaunchers = {
    "sh",     "bash",      "dash",        "zsh",     "fish", "env",      "python",
    "perl",   "ruby",      "node",        "nodejs",  "java", "mono",     "wine",
    "wine64", "php",       "lua",         "flatpak", "snap", "xdg-open", "gtk-launch",
    "gio",    "kioclient", "systemd-run", "pkexec",  "sudo", "electron"};

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// The escapes of every string value.
std::string unescaped(std::string_view value) {
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      text.push_back(value[i]);
      continue;
    }
    const char c = value[++i];
    const auto at = std::string_view("sntr\\").find(c);
    if (at == std::string_view::npos) text.push_back('\\');
    text.push_back(at == std::string_view::npos ? c : " \n\t\r\\"[at]);
  }
  return text;
}

// Exec's own quoting: arguments in double quotes, where a backslash escapes the next character.
std::vector<std::string> splitExec(std::string_view exec) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false;
  bool quoted = false;
  for (std::size_t i = 0; i < exec.size(); ++i) {
    const char c = exec[i];
    if (quoted && c == '\\' && i + 1 < exec.size()) {
      word.push_back(exec[++i]);
    } else if (c == '"') {
      quoted = !quoted;
      inWord = true;
    } else if (!quoted && (c == ' ' || c == '\t' || c == '\n')) {
      if (inWord) words.push_back(std::move(word));
      word.clear();
      inWord = false;
    } else {
      word.push_back(c);
      inWord = true;
    }
  }
  if (inWord) words.push_back(std::move(word));
  return words;
}

bool isVersioned(std::string_view name, std::string_view launcher) {
  return name.starts_with(launcher) &&
         name.substr(launcher.size()).find_first_not_of("0123456789.") == std::string_view::npos;
}

std::string_view lastPart(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

std::optional<DesktopEntry> parseDesktopEntry(std::string_view text) {
  DesktopEntry entry;
  bool found = false;
  bool inGroup = false;
  bool hidden = false;
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    const auto line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with('[')) {
      if (found) break;  // the group stands first
      found = inGroup = line == "[Desktop Entry]";
    }
    const auto equals = line.find('=');
    if (!inGroup || line.starts_with('#') || equals == std::string_view::npos) continue;
    const auto key = trimmed(line.substr(0, equals));
    const std::string value = unescaped(trimmed(line.substr(equals + 1)));
    if (key == "Type") entry.isApplication = value == "Application";
    if (key == "Hidden") hidden = value == "true";
    if (key == "Icon") entry.icon = value;
    if (key == "Exec") entry.words = splitExec(value);
  }
  if (!found) return std::nullopt;
  entry.isApplication = entry.isApplication && !hidden;
  return entry;
}

std::optional<std::string> desktopFileIdentifier(std::string_view pathBelow) {
  constexpr std::string_view suffix = ".desktop";
  if (!pathBelow.ends_with(suffix) || pathBelow.size() == suffix.size()) return std::nullopt;
  std::string identifier(pathBelow.substr(0, pathBelow.size() - suffix.size()));
  std::replace(identifier.begin(), identifier.end(), '/', '-');
  return identifier;
}

std::optional<std::size_t> programWord(const std::vector<std::string>& words) {
  std::size_t index = 0;
  if (index < words.size() && lastPart(words[index]) == "env") {
    ++index;
    while (index < words.size() && words[index].find('=') != std::string::npos) ++index;
  }
  if (index == words.size() || words[index].empty() || isLauncher(lastPart(words[index]))) {
    return std::nullopt;
  }
  return index;
}

bool isLauncher(std::string_view programName) {
  return std::any_of(kLaunchers.begin(), kLaunchers.end(),
                     [&](std::string_view launcher) { return isVersioned(programName, launcher); });
}

}  // namespace tarvel
