#include "programs/tools/sensor_listing.h"

#include <algorithm>
#include <string_view>

#include "text/printable_text.h"

namespace tarvel::tools {
namespace {

using viewer::Json;

std::string placeOf(const SensorSource& source) {
  return printableText(source.chip + " " + source.label);
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

Json orNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

}  // namespace

std::string textOf(const std::vector<ShownSensor>& sensors) {
  if (sensors.empty()) return "no sensors\n";
  std::size_t names = 0;
  std::size_t places = 0;
  for (const auto& sensor : sensors) {
    names = std::max(names, sensor.name.size());
    places = std::max(places, placeOf(sensor.source).size());
  }
  std::string text;
  std::string_view panel;
  for (const auto& sensor : sensors) {
    const auto& source = sensor.source;
    if (sensor.panel != panel) text.append(panel = sensor.panel).append("\n");
    text += "  " + padded(printableText(sensor.name), names) + "  " + padded(source.key, 4) +
            " <- " + padded(placeOf(source), places) + "  " + printableText(source.file);
    if (!source.model.empty()) text += "  (" + printableText(source.model) + ")";
    text += "\n";
  }
  return text;
}

Json jsonOf(const std::vector<ShownSensor>& sensors) {
  Json list = Json::array();
  for (const auto& [panel, name, source] : sensors) {
    list.push_back({{"panel", panel},
                    {"name", name},
                    {"key", orNull(source.key)},
                    {"chip", source.chip},
                    {"label", source.label},
                    {"file", source.file},
                    {"model", orNull(source.model)}});
  }
  return {{"sensors", std::move(list)}};
}

}  // namespace tarvel::tools
