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

// Arrays, whose decoding takes longest, each kept while nobody has stored anything.
class DecodedArrays {
 public:
  explicit DecodedArrays(DefaultsStore& store) : store_(store) {}

  template <typename Read>
  SharedValue fetch(std::string_view key, Read read) {
    const std::lock_guard lock(mutex_);
    const auto kept = arrays_.find(key);
    if (kept == arrays_.end()) {
      auto value = read();
      if (value && value->template as<Array>()) arrays_.emplace(key, Kept{});
      return value;
    }
    // Taken before the value is read: one that is stored in between is read again.
    const auto token = store_.changeToken();
    auto& array = kept->second;
    if (!array.value || array.token != token) array = {token, read()};
    return array.value;
  }

 private:
  struct Kept {
    DefaultsStore::ChangeToken token;
    SharedValue value;
  };

  DefaultsStore& store_;
  std::mutex mutex_;  // guards what follows
  std::map<std::string, Kept, std::less<>> arrays_;
};

class StoredUserDefaults : public UserDefaults {
 public:
  StoredUserDefaults(std::string_view suite, SystemLog& log) : store_(suite, log), times_(suite) {}

  std::shared_ptr<const PropertyList> objectForKey(std::string_view key) override {
    return arrays_.fetch(key, [&] { return read(key); });
  }
  bool valueForKey(std::string_view key) override { return objectForKey(key) != nullptr; }
  bool boolForKey(std::string_view key) override {
    const auto object = objectForKey(key);
    return object && boolValue(*object);
  }
  void setObject(const Data& data, std::string_view key) override {
    if (store_.set(key, data)) times_.note(key);
  }
  void setValue(std::string_view text, std::string_view key) override { texts_.set(text, key); }
  void setBool(bool flag, std::string_view key) override { store_.set(key, flag); }
  void removeObjectForKey(std::string_view key) override {
    if (store_.remove(key) == Removal::failed) removals_.add(key);
  }

 private:
  SharedValue read(std::string_view key) {
    auto value = store_.get(key);
    texts_.restoreInNewFile();
    if (removals_.hides(key, value) || !value) return nullptr;
    return std::make_shared<const PropertyList>(*std::move(value));
  }

  DefaultsStore store_;
  DecodedArrays arrays_{store_};
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
