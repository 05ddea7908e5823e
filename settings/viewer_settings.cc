#include "settings/viewer_settings.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/host/files/atomic_file.h"
#include "platform/host/files/small_file.h"

namespace tarvel::viewer {
namespace {

using Json = nlohmann::json;

constexpr std::array<std::string_view, 4> kOrders = {"listed", "value", "name", "pid"};
constexpr std::chrono::milliseconds kShortest{500};
constexpr std::chrono::milliseconds kLongest{60'000};
constexpr std::uintmax_t kLargestFile = 1 << 20;

// Takes the member where it is there and of this type.
template <typename Type>
void take(const Json& object, const char* name, Type& value) {
  const auto member = object.find(name);
  if (member == object.end()) return;
  if constexpr (std::is_same_v<Type, bool>) {
    if (member->is_boolean()) value = member->get<bool>();
  } else {
    if (member->is_string()) value = member->template get<std::string>();
  }
}

Order orderNamed(const std::string& name) {
  const auto found = std::find(kOrders.begin(), kOrders.end(), name);
  return found == kOrders.end() ? Order::kListed : static_cast<Order>(found - kOrders.begin());
}

// Names by reading key, then by sensor.
void takeAliases(const Json& object, Aliases& aliases) {
  const auto member = object.find("aliases");
  if (member == object.end() || !member->is_object()) return;
  for (const auto& [key, names] : member->items()) {
    if (!names.is_object()) continue;
    for (const auto& [sensor, name] : names.items()) {
      if (name.is_string()) aliases[{key, sensor}] = name.template get<std::string>();
    }
  }
}

ViewerSettings settingsOf(const Json& object) {
  ViewerSettings settings;
  std::string order;
  take(object, "order", order);
  settings.choices.order = orderNamed(order);
  take(object, "filter", settings.choices.filter);
  take(object, "grouped", settings.choices.isGrouped);
  take(object, "tree", settings.choices.isTree);
  take(object, "showHidden", settings.choices.showsHidden);
  take(object, "fahrenheit", settings.choices.isFahrenheit);
  take(object, "theme", settings.theme);
  take(object, "columns", settings.showsColumns);
  if (const auto interval = object.find("intervalMilliseconds");
      interval != object.end() && interval->is_number()) {
    const auto given = interval->get<double>();
    settings.interval =
        std::clamp(std::chrono::milliseconds(static_cast<long>(std::clamp(given, 0.0, 1e6))),
                   kShortest, kLongest);
  }
  takeAliases(object, settings.choices.aliases);
  return settings;
}

Json jsonOf(const ViewerSettings& settings) {
  const auto& choices = settings.choices;
  Json aliases = Json::object();
  for (const auto& [sensor, name] : choices.aliases) aliases[sensor.first][sensor.second] = name;
  return {{"order", kOrders[static_cast<std::size_t>(choices.order)]},
          {"filter", choices.filter},
          {"grouped", choices.isGrouped},
          {"tree", choices.isTree},
          {"showHidden", choices.showsHidden},
          {"fahrenheit", choices.isFahrenheit},
          {"theme", settings.theme},
          {"columns", settings.showsColumns},
          {"intervalMilliseconds", settings.interval.count()},
          {"aliases", aliases}};
}

}  // namespace

std::string settingsPath() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config != nullptr && config[0] == '/') return std::string(config) + "/tarvel/dashboard.json";
  const char* home = std::getenv("HOME");
  if (home == nullptr || home[0] != '/') return {};
  return std::string(home) + "/.config/tarvel/dashboard.json";
}

LoadedSettings loadSettings(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (path.empty() || error) return {};
  if (size > kLargestFile) return {{}, path + ": too large"};
  const auto text = readSmallFile(path, kLargestFile).value_or("");
  const auto object = Json::parse(text, nullptr, false);
  if (!object.is_object()) return {{}, path + ": not a JSON object"};
  return {settingsOf(object), std::nullopt};
}

bool saveSettings(const ViewerSettings& settings, const std::string& path) {
  if (path.empty()) return false;
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  if (error) return false;
  const std::string text =
      jsonOf(settings).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  return replaceFile(path, text, FileReaders::owner);
}

}  // namespace tarvel::viewer
