#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <prometheus/metric_family.h>

// How metrics are put together. Pure; one thread.

namespace tarvel::viewer {

using Families = std::vector<prometheus::MetricFamily>;
using Labels = std::vector<std::pair<std::string_view, std::string>>;

// One metric while its samples are gathered. A collector refuses a whole text for one sample that
// stands twice or one label that is no UTF-8: the second sample of equal labels is left out, and
// what cannot be shown in a label becomes "?".
class Family {
 public:
  // The type is a gauge or a counter.
  Family(std::string_view name, std::string_view help,
         prometheus::MetricType type = prometheus::MetricType::Gauge);

  // Without a finite value there is no sample.
  void add(const Labels& labels, std::optional<double> value);

  // Hands the metric over, where it has samples.
  void addTo(Families& families) &&;

 private:
  prometheus::MetricFamily family_;
  std::set<std::vector<prometheus::ClientMetric::Label>> seen_;
};

// The families in the text format 0.0.4.
std::string textOf(const Families& families);

}  // namespace tarvel::viewer
