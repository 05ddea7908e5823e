#include "programs/export/family.h"

#include <cmath>

#include <prometheus/text_serializer.h>

#include "text/printable_text.h"

namespace tarvel::viewer {

Family::Family(std::string_view name, std::string_view help, prometheus::MetricType type) {
  family_.name = name;
  family_.help = help;
  family_.type = type;
}

void Family::add(const Labels& labels, std::optional<double> value) {
  if (!value || !std::isfinite(*value)) return;
  prometheus::ClientMetric sample;
  for (const auto& [name, text] : labels) {
    sample.label.push_back({std::string(name), printableText(text)});
  }
  if (!seen_.insert(sample.label).second) return;
  sample.gauge.value = *value;
  sample.counter.value = *value;
  family_.metric.push_back(std::move(sample));
}

void Family::addTo(Families& families) && {
  if (!family_.metric.empty()) families.push_back(std::move(family_));
}

std::string textOf(const Families& families) {
  return prometheus::TextSerializer().Serialize(families);
}

}  // namespace tarvel::viewer
