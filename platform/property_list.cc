#include "platform/property_list.h"

#include <cmath>

#include "text/conversions.h"

namespace tarvel {

bool boolValue(const PropertyList& object) {
  if (const auto* text = object.as<std::string>()) return boolValue(std::string_view(*text));
  if (const auto* flag = object.as<bool>()) return *flag;
  if (const auto* integer = object.as<std::int64_t>()) return *integer != 0;
  if (const auto* real = object.as<double>()) return std::fpclassify(*real) != FP_ZERO;
  return false;
}

}  // namespace tarvel
