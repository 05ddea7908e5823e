#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// What libFuzzer hands to LLVMFuzzerTestOneInput, as the readers take it.

namespace tarvel {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace tarvel
