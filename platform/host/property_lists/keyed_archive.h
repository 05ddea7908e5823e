#pragma once

#include <memory>
#include <optional>

#include "platform/keyed_archiver.h"

// Keyed archives in the platform's own form: a binary property list whose array "$objects" holds
// every object once, and where a UID stands for the object with that number. Number 0 is "$null",
// the absent object.
//
// Written: immutable arrays and dictionaries, in the platform's order of keys and numbers; equal
// texts are not shared. A text that is exactly "$null" would read as absent everywhere: it is
// written with a blank after it. What is nested more than kPropertyListDepth deep gives no bytes.
//
// Read: what platform archivers write of arrays, dictionaries, strings and data, mutable or not, of
// numbers and of dates (as seconds since 2001-01-01 UTC), shared or not. Anything else, or a part
// that is anything else, gives none: sets, the absent object, other classes, other root keys, the
// XML form, and all that decode() of property_list_format.h refuses, cycles included.

namespace tarvel {

std::unique_ptr<KeyedArchiver> makeKeyedArchiver();

// The archived object, whatever it is.
std::optional<PropertyList> unarchivedObject(const Data& data);

}  // namespace tarvel
