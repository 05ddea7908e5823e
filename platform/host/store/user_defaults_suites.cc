#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "platform/host/store/defaults_store.h"
#include "platform/host/store/reading_times.h"
#include "text/conversions.h"

namespace tarvel {
namespace {

using Removal = DefaultsStore::Removal;
using SharedValue = std::shared_ptr<const PropertyList>;

// The keys that could not be removed, each with the value that was to go; none while that could not
// be read.
class UnfinishedRemovals {
 public:
  explicit UnfinishedRemovals(DefaultsStore& store) : store_(store) {}

  void add(std::string_view key) {
    auto value = store_.get(key);
    const std::lock_guard lock(mutex_);
    values_[std::string(key)] = std::move(value);
  }

  // Whether the key is to be absent although this value stands there; tries to remove it again.
  bool hides(std::string_view key, const std::optional<PropertyList>& value) {
    const std::lock_guard lock(mutex_);
    const auto unfinished = values_.find(key);
    if (unfinished == values_.end()) return false;
    auto& doomed = unfinished->second;
    if (!doomed) doomed = value;
    const bool isNew = value && value != doomed;
    if (isNew || (doomed && store_.removeUnchanged(key, *doomed) != Removal::failed)) {
      values_.erase(unfinished);
    }
    return !isNew;
  }

 private:
  DefaultsStore& store_;
  std::mutex mutex_;  // guards what follows
  std::map<std::string, std::optional<PropertyList>, std::less<>> values_;
};

// What the process has said of itself in texts, said again in a file that was made anew meanwhile.
class OwnTexts {
 public:
  explicit OwnTexts(DefaultsStore& store) : store_(store) {}

  void set(std::string_view text, std::string_view key) {
    store_.set(key, std::string(text));
    const std::lock_guard lock(mutex_);
    texts_[std::string(key)] = text;
    file_ = store_.filesOpened();
  }

  void restoreInNewFile() {
    const std::lock_guard lock(mutex_);
    const auto file = store_.filesOpened();
    if (file == file_) return;
    file_ = file;
    for (const auto& [key, text] : texts_) {
      store_.change(key, [&](const auto& value) {
        return value ? std::nullopt : std::optional<PropertyList>(text);
      });
    }
  }

 private:
  DefaultsStore& store_;
  std::mutex mutex_;  // guards what follows
  std::uint64_t file_ = 0;
  std::map<std::string, std::string, std::less<>> texts_;
};

struct Reading {
  SharedValue value;  // null: absent
  bool lasts = true;  // until somebody stores something; else it is to be read each time
};

// What was read, for as long as nobody else stores anything; what this process stores is forgotten.
// Arrays are kept, which are short and take longest to decode; of other values that they are there.
class KnownValues {
 public:
  explicit KnownValues(DefaultsStore& store) : store_(store) {}

  template <typename Read>
  SharedValue fetch(std::string_view key, Read read) {
    const std::lock_guard lock(mutex_);
    const auto version = versionNow();
    const auto* known = find(key, version);
    if (known != nullptr && (known->array || !known->isThere)) return known->array;
    return keep(key, version, read());
  }

  template <typename Read>
  bool isThere(std::string_view key, Read read) {
    const std::lock_guard lock(mutex_);
    const auto version = versionNow();
    const auto* known = find(key, version);
    return known != nullptr ? known->isThere : keep(key, version, read()) != nullptr;
  }

  // After the value was written.
  void forget(std::string_view key) {
    const std::lock_guard lock(mutex_);
    const auto known = values_.find(key);
    if (known != values_.end()) values_.erase(known);
  }

 private:
  using Version = std::pair<std::uint64_t, std::int64_t>;  // of the file, and of it by others
  struct Known {
    Version version;
    bool isThere = false;
    SharedValue array;
  };

  // Taken before the value is read: one that is stored in between is read again.
  Version versionNow() {
    const auto token = store_.changeToken();
    return {token.file, token.others};
  }

  const Known* find(std::string_view key, const Version& version) const {
    const auto known = values_.find(key);
    return known != values_.end() && known->second.version == version ? &known->second : nullptr;
  }

  SharedValue keep(std::string_view key, const Version& version, const Reading& reading) {
    const bool isArray = reading.value && reading.value->as<Array>() != nullptr;
    if (reading.lasts) {
      values_.insert_or_assign(std::string(key), Known{version, reading.value != nullptr,
                                                       isArray ? reading.value : nullptr});
    }
    return reading.value;
  }

  DefaultsStore& store_;
  std::mutex mutex_;  // guards what follows, and is held while a value is read
  std::map<std::string, Known, std::less<>> values_;
};

class StoredUserDefaults : public UserDefaults {
 public:
  StoredUserDefaults(std::string_view suite, SystemLog& log) : store_(suite, log), times_(suite) {}

  std::shared_ptr<const PropertyList> objectForKey(std::string_view key) override {
    return known_.fetch(key, [&] { return read(key); });
  }
  bool valueForKey(std::string_view key) override {
    return known_.isThere(key, [&] { return read(key); });
  }
  bool boolForKey(std::string_view key) override {
    const auto object = objectForKey(key);
    return object && boolValue(*object);
  }
  void setObject(const Data& data, std::string_view key) override {
    if (store_.set(key, data)) times_.note(key);
    known_.forget(key);
  }
  void setValue(std::string_view text, std::string_view key) override {
    texts_.set(text, key);
    known_.forget(key);
  }
  void setBool(bool flag, std::string_view key) override {
    store_.set(key, flag);
    known_.forget(key);
  }
  void removeObjectForKey(std::string_view key) override {
    if (store_.remove(key) == Removal::failed) removals_.add(key);
    known_.forget(key);
  }

 private:
  Reading read(std::string_view key) {
    texts_.restoreInNewFile();
    auto found = store_.look(key);
    if (removals_.hides(key, found.value)) return {nullptr, false};
    if (!found.value) return {nullptr, found.isCertain};
    return {std::make_shared<const PropertyList>(*std::move(found.value)), true};
  }

  DefaultsStore store_;
  KnownValues known_{store_};
  UnfinishedRemovals removals_{store_};
  OwnTexts texts_{store_};
  ReadingTimes times_;
};

class StoredUserDefaultsSuites : public UserDefaultsSuites {
 public:
  explicit StoredUserDefaultsSuites(SystemLog& log) : log_(log) {}

  std::unique_ptr<UserDefaults> initWithSuiteName(std::string_view suite) override {
    return std::make_unique<StoredUserDefaults>(suite, log_);
  }

 private:
  SystemLog& log_;
};

}  // namespace

std::unique_ptr<UserDefaultsSuites> makeUserDefaultsSuites(SystemLog& log) {
  return std::make_unique<StoredUserDefaultsSuites>(log);
}

}  // namespace tarvel
