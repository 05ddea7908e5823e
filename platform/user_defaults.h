#pragma once

#include <memory>
#include <string_view>

#include "platform/property_list.h"

// The shared store: a flat map from string keys to property-list values, shared with the viewers.
//
// One handle serves all threads of a process, and any number of processes use one suite at once.
// Every write is whole and is seen by the next read of anybody. Nothing reports failure: a store
// that cannot be opened reads as empty, and a write that cannot be made keeps the old value.

namespace tarvel {

class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  // The value as it stands now; null when the key is absent or holds no property list. What was
  // handed out stays as it was, whatever is stored later. Fetching an array again costs little
  // while nobody has stored anything.
  virtual std::shared_ptr<const PropertyList> objectForKey(std::string_view key) = 0;

  // The presence test: whether the key holds any value at all.
  virtual bool valueForKey(std::string_view key) = 0;

  // Numbers and texts converted as boolValue does, anything else and an absent key false.
  virtual bool boolForKey(std::string_view key) = 0;

  virtual void setObject(const Data& data, std::string_view key) = 0;
  virtual void setValue(std::string_view text, std::string_view key) = 0;
  virtual void setBool(bool flag, std::string_view key) = 0;
  virtual void removeObjectForKey(std::string_view key) = 0;
};

class UserDefaultsSuites {
 public:
  virtual ~UserDefaultsSuites() = default;

  // A handle on the suite; never null.
  virtual std::unique_ptr<UserDefaults> initWithSuiteName(std::string_view suite) = 0;
};

}  // namespace tarvel
