#include "sensors/sort.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "text/conversions.h"

namespace tarvel {
namespace {

std::string_view nameOf(const PropertyList& record) {
  const auto* fields = record.as<Array>();
  if (fields == nullptr || fields->empty()) return {};
  const auto* name = fields->front().as<std::string>();
  return name == nullptr ? std::string_view{} : std::string_view(*name);
}

}  // namespace

int sortValues(const PropertyList& record, const PropertyList& other) {
  return caseInsensitiveCompare(nameOf(record), nameOf(other));
}

int sortTemps(const PropertyList& record, const PropertyList& other) {
  return sortValues(record, other);
}

void sortUsingSelector(Array& records, RecordComparator compare) {
  std::ranges::stable_sort(records, [compare](const PropertyList& a, const PropertyList& b) {
    return compare(a, b) < 0;
  });
}

}  // namespace tarvel
