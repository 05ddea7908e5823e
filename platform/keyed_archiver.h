#pragma once

#include <optional>

#include "platform/property_list.h"

// Keyed archives of arrays, the form in which every reading is published. Callable from any thread.

namespace tarvel {

class KeyedArchiver {
 public:
  virtual ~KeyedArchiver() = default;

  virtual Data archivedDataWithRootObject(const Array& root) = 0;

  // The array that was archived; none for anything that is not a whole, finite archive of one.
  virtual std::optional<Array> unarchiveObjectWithData(const Data& data) = 0;
};

}  // namespace tarvel
