#include "platform/linux/desktop/unit_application.h"

#include <algorithm>
#include <optional>

namespace tarvel {
namespace {

bool takeSuffix(std::string_view& text, std::string_view suffix) {
  if (!text.ends_with(suffix)) return false;
  text.remove_suffix(suffix.size());
  return true;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// A part of a unit's name without its \xHH escapes; none for a bad one and for what no identifier
// may be.
std::optional<std::string> unescaped(std::string_view part) {
  std::string text;
  for (std::size_t i = 0; i < part.size(); ++i) {
    if (part[i] != '\\') {
      text.push_back(part[i]);
      continue;
    }
    if (i + 3 >= part.size() || part[i + 1] != 'x') return std::nullopt;
    const int high = hexDigit(part[i + 2]);
    const int low = hexDigit(part[i + 3]);
    if (high < 0 || low < 0) return std::nullopt;
    text.push_back(static_cast<char>(high * 16 + low));
    i += 3;
  }
  const bool allowed = !text.empty() && text != "." && text != ".." &&
                       text.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
  return allowed ? std::optional(text) : std::nullopt;
}

// The last part of "launcher-identifier" or "identifier".
std::optional<std::string> identifierOf(std::string_view parts) {
  if (std::count(parts.begin(), parts.end(), '-') > 1) return std::nullopt;
  return unescaped(parts.substr(parts.rfind('-') + 1));
}

std::optional<std::string> withoutTail(std::string_view parts) {
  const auto dash = parts.rfind('-');
  return dash == std::string_view::npos ? std::nullopt : identifierOf(parts.substr(0, dash));
}

std::string_view upTo(std::string_view text, char end) { return text.substr(0, text.find(end)); }

// "snap.SNAP.APP-UUID.scope" or "snap.SNAP.APP.UUID.scope": the entry is SNAP_APP.
std::optional<std::string> snapIdentifier(std::string_view name) {
  const auto dot = name.find('.');
  if (dot == std::string_view::npos) return std::nullopt;
  const auto application = upTo(upTo(name.substr(dot + 1), '.'), '-');
  if (dot == 0 || application.empty()) return std::nullopt;
  return std::string(name.substr(0, dot)) + "_" + std::string(application);
}

std::optional<std::string> scopeIdentifier(std::string_view name) {
  if (takePrefix(name, "app-")) return withoutTail(name);
  if (takePrefix(name, "flatpak-")) return withoutTail(name);
  if (takePrefix(name, "snap.")) return snapIdentifier(name);
  return std::nullopt;
}

std::optional<std::string> serviceIdentifier(std::string_view name) {
  if (takePrefix(name, "app-")) {
    takeSuffix(name, "-autostart");
    return identifierOf(upTo(name, '@'));
  }
  if (takePrefix(name, "dbus-:")) {  // ":1.42-NAME@0"
    const auto dash = name.find('-');
    return dash == std::string_view::npos ? std::nullopt
                                          : unescaped(upTo(name.substr(dash + 1), '@'));
  }
  return std::nullopt;
}

std::optional<std::string> sliceIdentifier(std::string_view name) {
  return takePrefix(name, "app-") ? identifierOf(name) : std::nullopt;
}

bool isTerminalTab(std::string_view unit) {
  return unit.ends_with(".scope") && (unit.starts_with("vte-spawn-") || unit.starts_with("tab("));
}

std::optional<std::string> unitIdentifier(std::string_view unit) {
  if (takeSuffix(unit, ".scope")) return scopeIdentifier(unit);
  if (takeSuffix(unit, ".service")) return serviceIdentifier(unit);
  if (takeSuffix(unit, ".slice")) return sliceIdentifier(unit);
  return std::nullopt;
}

}  // namespace

std::vector<std::string> unitIdentifiers(std::string_view path) {
  std::vector<std::string> identifiers;
  while (!path.empty()) {
    const auto slash = path.rfind('/');
    const auto unit = slash == std::string_view::npos ? path : path.substr(slash + 1);
    path = path.substr(0, slash == std::string_view::npos ? 0 : slash);
    if (isTerminalTab(unit)) break;
    if (auto identifier = unitIdentifier(unit)) identifiers.push_back(std::move(*identifier));
  }
  return identifiers;
}

std::string_view controlGroupPath(std::string_view cgroupFile) {
  std::string_view systemd;
  while (!cgroupFile.empty()) {
    std::string_view line = upTo(cgroupFile, '\n');
    cgroupFile.remove_prefix(std::min(line.size() + 1, cgroupFile.size()));
    if (takePrefix(line, "0::")) return line;
    const auto name = line.find(":name=systemd:");
    if (name != std::string_view::npos) systemd = line.substr(name + 14);
  }
  return systemd;
}

}  // namespace tarvel
