#include <string>
#include <utility>

#include "platform/host/store/defaults_store.h"
#include "text/conversions.h"

namespace tarvel {
namespace {

class StoredUserDefaults : public UserDefaults {
 public:
  StoredUserDefaults(std::string_view suite, SystemLog& log) : store_(suite, log) {}

  std::optional<PropertyList> objectForKey(std::string_view key) override {
    return store_.get(key);
  }
  bool valueForKey(std::string_view key) override { return store_.get(key).has_value(); }
  bool boolForKey(std::string_view key) override {
    const auto object = store_.get(key);
    return object && boolValue(*object);
  }
  void setObject(const Data& data, std::string_view key) override { store_.set(key, data); }
  void setValue(std::string_view text, std::string_view key) override {
    store_.set(key, std::string(text));
  }
  void setBool(bool flag, std::string_view key) override { store_.set(key, flag); }
  void removeObjectForKey(std::string_view key) override { store_.remove(key); }

 private:
  DefaultsStore store_;
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
