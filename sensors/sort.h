#pragma once

#include "platform/property_list.h"

// The order of sensor records: by display name, element 0, whatever its case; digits are
// characters, so "CPU Core 10" stands before "CPU Core 2".

namespace tarvel {

// Negative, zero or positive: ascending, same, descending.
using RecordComparator = int (*)(const PropertyList& record, const PropertyList& other);

int sortValues(const PropertyList& record, const PropertyList& other);
int sortTemps(const PropertyList& record, const PropertyList& other);

// Records of one name stay in the order of their collection.
void sortUsingSelector(Array& records, RecordComparator compare);

}  // namespace tarvel
