#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/property_list.h"

// Binary property lists ("bplist00"), the form of every value in the store. Pure, callable from any
// thread.

namespace tarvel {

// How deep arrays and dictionaries may be nested, in what is written and in what is read.
inline constexpr std::size_t kPropertyListDepth = 512;

// The value as a binary property list; empty when it is nested too deeply. Bytes of a text that are
// not UTF-8 are written as U+FFFD.
Data encode(const PropertyList& value);

// The value that the bytes hold. None when they are no whole binary property list, when they are
// nested too deeply, when shared parts expand to more than 64 MiB beyond the bytes themselves, or
// when they hold what a PropertyList cannot: texts that are no Unicode, integers beyond 64 bits,
// keys that are no texts or occur twice, UIDs, sets. A date becomes its number of seconds since
// 2001-01-01 UTC.
std::optional<PropertyList> decode(std::span<const std::uint8_t> bytes);

}  // namespace tarvel
