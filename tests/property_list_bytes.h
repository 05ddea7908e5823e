#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/property_list.h"

// A binary property list put together from the bytes of its objects, with references of one byte.

namespace tarvel {

inline Data propertyListOf(const std::vector<std::string>& objects, std::size_t top = 0,
                           std::size_t offsetWidth = 4) {
  std::string bytes = "bplist00";
  std::string table;
  const auto wide = [](std::size_t number, std::size_t width) {
    std::string digits;
    while (width-- > 0) digits.push_back(static_cast<char>(number >> (8 * width)));
    return digits;
  };
  for (const std::string& object : objects) {
    table += wide(bytes.size(), offsetWidth);
    bytes += object;
  }
  const std::size_t place = bytes.size();
  bytes += table + wide(0, 6) + wide(offsetWidth, 1) + wide(1, 1) + wide(objects.size(), 8) +
           wide(top, 8) + wide(place, 8);
  return {bytes.begin(), bytes.end()};
}

}  // namespace tarvel
